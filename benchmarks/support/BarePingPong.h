#pragma once

#include "KavraUtil/Smbus.pb.h"

#include <string>

/// The base that the library is measured against: a connection, one request message and one
/// response message that are used again and again, and per batch one serialisation, one send, one
/// recv and one parse.
class BarePingPong {
  public:
    BarePingPong( const std::string &path, const Smbus::TransactionRequest &request );
    BarePingPong( const BarePingPong & ) = delete;
    BarePingPong &operator=( const BarePingPong & ) = delete;
    ~BarePingPong();

    void batch();
    /// To the last batch.
    const Smbus::TransactionResponse &answer() const { return response_; }

  private:
    int fd_;
    Smbus::TransactionRequest request_;
    Smbus::TransactionResponse response_;
    std::string buffer_;
};
