#pragma once

#include "SmbusServer/EventLoop.h"
#include "SmbusServer/Listener.h"

#include <functional>
#include <vector>

namespace SmbusServer {

/// Blocks the signals that the objects below wait for. To be called before any thread is started.
void blockSignals();

/// Ends the loop after SIGTERM or SIGINT. Nobody is accepted any more; who waits for an answer
/// still gets it. After 5 s, or at a second signal, the loop ends all the same.
class StopSignals {
  public:
    /// @param listeners must outlive the object.
    StopSignals( sd_event *loop, std::vector<Listener *> listeners );

  private:
    static int arrived( sd_event_source *source, const signalfd_siginfo *, void *self );
    void stop();

    sd_event *loop_;
    std::vector<Listener *> listeners_;
    bool stopping_ = false;
    EventSource terminate_;
    EventSource interrupt_;
    EventSource deadline_;
};

/// Reads the documents again after SIGHUP.
class ReloadSignal {
  public:
    /// @param read throws std::exception when a document is broken, and then has changed nothing.
    ReloadSignal( sd_event *loop, std::function<void()> read );

  private:
    static int arrived( sd_event_source *source, const signalfd_siginfo *, void *self );

    std::function<void()> read_;
    EventSource source_;
};

} // namespace SmbusServer
