#pragma once

#include <memory>
#include <systemd/sd-event.h>

namespace SmbusServer {

struct EventLoopCloser {
    void operator()( sd_event *loop ) const { sd_event_unref( loop ); }
};
using EventLoop = std::unique_ptr<sd_event, EventLoopCloser>;

struct EventSourceCloser {
    void operator()( sd_event_source *source ) const { sd_event_source_disable_unref( source ); }
};
/// A watch that ends with the object; it may do so inside its own callback.
using EventSource = std::unique_ptr<sd_event_source, EventSourceCloser>;

} // namespace SmbusServer
