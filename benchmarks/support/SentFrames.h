#pragma once

#include "KavraUtil/Smbus.pb.h"

#include <string>
#include <vector>

/// Every frame that this process sends through send(), from start() to stop(): what the library
/// under test puts on the wire.
class SentFrames {
  public:
    static void start();
    static std::vector<std::string> stop();
};

/// The requests in frames.
std::vector<Smbus::TransactionRequest> requestsIn( const std::vector<std::string> &frames );

/// A bare connection to the server, on which things are sent again.
class BareReplay {
  public:
    /// @throw std::runtime_error when there is no server.
    explicit BareReplay( const std::string &path );
    BareReplay( const BareReplay & ) = delete;
    BareReplay &operator=( const BareReplay & ) = delete;
    ~BareReplay();

    /// The frames as they are, one after the other, each when the one before is answered.
    void replay( const std::vector<std::string> &frames );
    /// The same, with one serialisation and one parse for each.
    void exchange( const std::vector<Smbus::TransactionRequest> &requests );

  private:
    /// @return how many bytes came.
    size_t roundTrip( const char *frame, size_t size );

    int fd_;
    std::string outgoing_;
    std::string answer_;
    Smbus::TransactionResponse response_;
};
