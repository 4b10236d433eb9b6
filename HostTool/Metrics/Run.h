#pragma once

#include <exception>
#include <functional>
#include <vector>

struct sd_event_source;

namespace HostTool::Metrics {

/// The host's event loop while a command runs on it. Callbacks of the loop are called from C: what
/// they do goes through guard(), and what it throws leaves untilStopped().
class Run {
  public:
    Run() = default;
    ~Run();
    Run( const Run & ) = delete;
    Run &operator=( const Run & ) = delete;

    void guard( const std::function<void()> &work );
    void stop() { isOver_ = true; }
    /// From now on the interruptions stop it, and end nothing else.
    void stopsOnSignals();
    void stopsAfter( int seconds );

    void untilStopped();

  private:
    bool isOver_ = false;
    std::exception_ptr failure_;
    std::vector<sd_event_source *> sources_;
};

} // namespace HostTool::Metrics
