#pragma once

#include "KavraUtil/Smbus.pb.h"
#include "SmbusServer/Backlog.h"
#include "SmbusServer/Frame.h"

#include <cstddef>
#include <memory>
#include <string>
#include <string_view>

namespace SmbusServer {

/// What all connections share. Buffers and messages live longer than a batch, so that a warm one
/// allocates nothing; they hold nothing while a batch is left to be performed.
struct Workspace {
    std::unique_ptr<char[]> frame = std::make_unique_for_overwrite<char[]>( largestFrame );
    Smbus::TransactionRequest request;
    Smbus::TransactionResponse response;
    Backlog backlog;

    /// Makes `request` of a payload. A host that polls sends the same bytes again and again: bytes
    /// equal to those before are not taken apart anew.
    /// @return false when the payload is no request.
    bool parse( std::string_view payload );
    /// The content of `request` is gone.
    void requestTaken() { parsed_.clear(); }

    /// A message keeps the room of everything that it ever held. From time to time, counted in the
    /// bytes that went through, messages that have grown large are replaced by new ones.
    void passed( size_t bytes );

  private:
    std::string parsed_; // what `request` was made of; empty: not known
    size_t passed_ = 0;
};

} // namespace SmbusServer
