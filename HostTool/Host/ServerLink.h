#pragma once

#include <functional>
#include <string>

struct sd_event;
struct sd_event_source;

namespace HostTool {

/// Notices at once when the SMBus server goes, and when it is back: an idle connection of its own
/// ends with the server. The library would notice only when it next needs the server, and some of
/// its devices end the process then.
class ServerLink {
  public:
    /// @param changed called with the reason when the server goes and when the reason becomes
    ///                another, with an empty one when it is back; not for the first connection
    ServerLink( sd_event *loop, std::function<void( const std::string &reason )> changed );
    ~ServerLink();
    ServerLink( const ServerLink & ) = delete;
    ServerLink &operator=( const ServerLink & ) = delete;

  private:
    bool connectNow();
    void lost();
    void say( const std::string &reason );
    void tryAgain();

    sd_event *loop_;
    std::function<void( const std::string & )> changed_;
    std::string said_; ///< the reason that was told last; empty while there is a server
    int fd_ = -1;
    sd_event_source *hangUp_ = nullptr;
    sd_event_source *retry_ = nullptr;
};

} // namespace HostTool
