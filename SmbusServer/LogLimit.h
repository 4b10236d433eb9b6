#pragma once

#include <chrono>
#include <list>
#include <optional>
#include <sys/types.h>

namespace SmbusServer {

/// Keeps what clients bring about from flooding the log. A client process, whichever connection it
/// uses, may write a few lines at once and then some each second; all of them together have a limit
/// as well.
class LogLimit {
  public:
    using Time = std::chrono::steady_clock::time_point;

    static constexpr double burst = 20;
    static constexpr double perSecond = 2;
    static constexpr double burstOfAll = 200;
    static constexpr double perSecondOfAll = 20;
    static constexpr size_t mostClients = 64; ///< the one heard of longest ago is forgotten

    /// @return how many lines of this client were left out since its last one; nothing when this
    ///         one is to be left out.
    std::optional<unsigned> admit( pid_t client, Time now );

  private:
    /// Tokens come back with time, up to a number; a line takes one.
    struct Bucket {
        double tokens;
        Time filled;
        void fill( double rate, double most, Time now );
    };
    struct Client {
        pid_t pid;
        Bucket bucket;
        unsigned leftOut = 0;
    };

    Client &find( pid_t client, Time now );

    std::list<Client> clients_; // the one heard of last is first
    Bucket all_ = { burstOfAll, {} };
};

} // namespace SmbusServer
