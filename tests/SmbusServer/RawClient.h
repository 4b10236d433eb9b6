#pragma once

#include "KavraUtil/Smbus.pb.h"

#include <optional>
#include <string>
#include <string_view>

/// A socket that says to a server whatever a test wants, also what no client should.
class RawClient {
  public:
    /// Connects; throws std::runtime_error when it cannot.
    explicit RawClient( const std::string &path );
    RawClient( const RawClient & ) = delete;
    RawClient &operator=( const RawClient & ) = delete;
    ~RawClient();

    void send( std::string_view bytes );
    void send( const Smbus::TransactionRequest &request );
    /// No more will be sent; the answers still come.
    void endOfInput();

    /// Exactly this many bytes; fewer when the server hangs up. Fails the test after 20 s.
    std::string receive( size_t count );
    /// Up to and with the line end.
    std::string receiveLine();
    /// The next frame's message; nothing when the server hangs up before its end.
    std::optional<Smbus::TransactionResponse> answer();
    std::optional<Smbus::TransactionResponse> ask( const Smbus::TransactionRequest &request );
    bool hungUp() { return receive( 1 ).empty(); }

    static std::string frame( const std::string &payload );

  private:
    int fd_;
};
