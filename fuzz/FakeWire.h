#pragma once

#include "KavraUtil/Smbus.pb.h"

#include <functional>
#include <string>

namespace Fuzz {

/// The library's connection to a server that is a function. What the library's socket sends and
/// receives while the object lives never leaves the process: the system calls on it are answered
/// here. One at a time.
class FakeWire {
  public:
    /// @return the bytes that the server sends for a batch, a whole frame or not. None: it hangs
    ///         up. Fewer than a frame: nothing more comes in time.
    using Server = std::function<std::string( const Smbus::TransactionRequest & )>;

    explicit FakeWire( Server server );
    ~FakeWire();
    FakeWire( const FakeWire & ) = delete;
    FakeWire &operator=( const FakeWire & ) = delete;
};

std::string frameOf( const Smbus::TransactionResponse &response );
std::string frameOf( std::string_view payload );

/// What a healthy board answers: writes with the bytes written, reads with what the function gives
/// for them.
Smbus::TransactionResponse
healthyAnswer( const Smbus::TransactionRequest &batch,
               const std::function<std::string( const Smbus::Request & )> &read );

inline uint32_t registerOf( const Smbus::Request &request ) {
    return static_cast<uint32_t>( request.address() );
}

} // namespace Fuzz
