#pragma once

#include "HostTool/Commands.h"
#include "HostTool/Host/ServerLink.h"
#include "HostTool/Metrics/Exposition.h"
#include "HostTool/Metrics/FailureLog.h"
#include "HostTool/Metrics/Run.h"

#include <functional>
#include <memory>
#include <string>
#include <vector>

struct sd_event_source;

namespace HostTool::Metrics {

/// Reads a board when it is asked to, one pass at a time, a few devices at each turn of the host's
/// event loop, so that the library's timers, other clients and the loss of the server come in
/// between. While there is no server nothing is read and the library's timers wait; the devices are
/// added when there is one for the first time.
///
/// What happens to the server and to the devices goes to stderr when it changes.
class Collector {
  public:
    struct Result {
        std::string text;     ///< the exposition
        std::string noServer; ///< why nothing was read; empty when the server was there
    };
    using Done = std::function<void( const Result &result )>;

    /// Adds the devices, if there is a server.
    /// @param task lives longer, and has a library
    /// @throw Failure (badInput) when the library refuses a document.
    Collector( Run &run, const Task &task );
    ~Collector();
    Collector( const Collector & ) = delete;
    Collector &operator=( const Collector & ) = delete;

    /// Calls back with what a pass found that began after this call: all who ask while one is going
    /// on share the next one.
    void collect( Done done );

  private:
    enum class Step { idle, settling, reading, publishing };

    void serverChanged( const std::string &reason );
    void turn();
    void begin();
    void readSome();
    void publish();
    void add();
    void turnIn( uint64_t microseconds );

    Run &run_;
    const Task &task_;
    std::vector<const Entry *> entries_;
    Exposition exposition_;
    std::vector<Device> devices_;
    bool hasDevices_ = false;
    Moment settledAt_;
    std::string serverReason_; ///< why there is no server; empty while there is one
    FailureLog failures_;

    Step step_ = Step::idle;
    bool lostServer_ = false; ///< during this pass
    Moment startedAt_;
    size_t next_ = 0;
    std::vector<Done> asking_; ///< for this pass
    std::vector<Done> waiting_;
    sd_event_source *timer_ = nullptr;
    std::unique_ptr<ServerLink> link_;
};

} // namespace HostTool::Metrics
