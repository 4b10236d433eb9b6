#pragma once

#include "KavraUtil/Smbus.pb.h"

#include <functional>
#include <thread>

namespace Property {

/// The library's server while it lives: answers each batch that comes over the socket with what the
/// function makes of it. The function runs on another thread, while the library waits.
class WireServer {
  public:
    using Function = std::function<Smbus::TransactionResponse( const Smbus::TransactionRequest & )>;

    /// Makes the library's connection; it has none yet.
    explicit WireServer( Function function );
    /// Takes the library's connection away.
    ~WireServer();
    WireServer( const WireServer & ) = delete;
    WireServer &operator=( const WireServer & ) = delete;

  private:
    void serve();

    Function function_;
    int fd_ = -1;
    std::thread thread_;
};

} // namespace Property
