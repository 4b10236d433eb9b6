#pragma once

#include "KavraUtil/Smbus.pb.h"

#include <cstddef>

namespace SmbusServer {

/// Writes an answer as its frame's payload, with the bytes that the message's own writer gives.
/// That one takes a good part of the time of a long batch: here the bytes read are written
/// directly, and an answer that says anything else is left to it.
class AnswerWriter {
  public:
    /// @param answer must outlive the object and not change.
    explicit AnswerWriter( const Smbus::TransactionResponse &answer );

    /// Bytes of the payload.
    size_t size() const { return size_; }
    /// @param payload has room for them.
    void write( char *payload ) const;

  private:
    const Smbus::TransactionResponse &answer_;
    size_t size_;
    bool plain_;
};

} // namespace SmbusServer
