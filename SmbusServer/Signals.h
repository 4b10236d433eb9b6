#pragma once

#include "SmbusServer/EventLoop.h"
#include "SmbusServer/Listener.h"

#include <chrono>
#include <functional>
#include <vector>

namespace SmbusServer {

/// Blocks the signals that the objects below wait for. To be called before any thread is started.
void blockSignals();

/// Ends the loop after SIGTERM or SIGINT. Nobody is accepted any more; who waits for an answer
/// still gets it. When that takes too long, or at a second signal, the loop ends all the same.
class StopSignals {
  public:
    static constexpr std::chrono::seconds longestStop{ 5 };

    /// @param listeners must outlive the object.
    /// @param longest how long answers may wait to be taken.
    StopSignals( sd_event *loop, std::vector<Listener *> listeners,
                 std::chrono::microseconds longest = longestStop );

  private:
    static int arrived( sd_event_source *source, const signalfd_siginfo *, void *self );
    void stop();

    sd_event *loop_;
    std::vector<Listener *> listeners_;
    std::chrono::microseconds longest_;
    bool stopping_ = false;
    EventSource terminate_;
    EventSource interrupt_;
    EventSource deadline_;
};

/// Reads the documents again after SIGHUP.
class ReloadSignal {
  public:
    /// Reads the documents. Throws std::exception when one is broken, and then has changed nothing;
    /// otherwise calls the function that it is given, perhaps later, when they are what is served.
    using Read = std::function<void( std::function<void()> done )>;

    ReloadSignal( sd_event *loop, Read read );

  private:
    static int arrived( sd_event_source *source, const signalfd_siginfo *, void *self );

    Read read_;
    EventSource source_;
};

} // namespace SmbusServer
