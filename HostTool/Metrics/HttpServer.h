#pragma once

#include "HostTool/Metrics/Collector.h"
#include "HostTool/Metrics/Listener.h"

#include <memory>
#include <vector>

struct MHD_Connection;
struct MHD_Daemon;
struct sd_event_source;

namespace HostTool::Metrics {

/// Answers GET /metrics with a pass over the board that begins when it is asked for. It runs on the
/// host's event loop, without a thread, and never waits for a client: one that is silent is cut off
/// after a while, and a client that asks waits for nothing but the reading.
class HttpServer {
  public:
    /// @param run,collector,listener live longer
    HttpServer( Run &run, Collector &collector, const Listener &listener );
    ~HttpServer();
    HttpServer( const HttpServer & ) = delete;
    HttpServer &operator=( const HttpServer & ) = delete;

  private:
    struct Request;
    /// What the daemon calls.
    struct Callbacks;

    void work();
    void collect( const std::shared_ptr<Request> &request );

    Run &run_;
    Collector &collector_;
    std::vector<std::shared_ptr<Request>> collecting_;
    MHD_Daemon *daemon_ = nullptr;
    sd_event_source *activity_ = nullptr;
    sd_event_source *deadline_ = nullptr;
};

} // namespace HostTool::Metrics
