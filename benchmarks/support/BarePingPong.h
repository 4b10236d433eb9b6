#pragma once

#include "KavraUtil/Smbus.pb.h"

#include <string>
#include <vector>

/// The base that the library is measured against: a connection, request messages and one response
/// message that are used again and again, and per batch one serialisation, one send, one recv and
/// one parse.
class BarePingPong {
  public:
    BarePingPong( const std::string &path, const Smbus::TransactionRequest &request );
    /// @param requests sent in turn.
    BarePingPong( const std::string &path, std::vector<Smbus::TransactionRequest> requests );
    BarePingPong( const BarePingPong & ) = delete;
    BarePingPong &operator=( const BarePingPong & ) = delete;
    ~BarePingPong();

    void batch();
    /// To the last batch.
    const Smbus::TransactionResponse &answer() const { return response_; }

  private:
    int fd_;
    std::vector<Smbus::TransactionRequest> requests_;
    size_t next_ = 0;
    Smbus::TransactionResponse response_;
    std::string buffer_;
};
