#pragma once

#include "KavraUtil/Smbus.pb.h"
#include "SmbusServer/Backlog.h"
#include "SmbusServer/Frame.h"

#include <cstddef>
#include <memory>

namespace SmbusServer {

/// What all connections share. Buffers and messages live longer than a batch, so that a warm one
/// allocates nothing; they hold nothing while a batch is left to be performed.
struct Workspace {
    std::unique_ptr<char[]> frame = std::make_unique_for_overwrite<char[]>( largestFrame );
    Smbus::TransactionRequest request;
    Smbus::TransactionResponse response;
    Backlog backlog;

    /// A message keeps the room of everything that it ever held. From time to time, counted in the
    /// bytes that went through, messages that have grown large are replaced by new ones.
    void passed( size_t bytes );

  private:
    size_t passed_ = 0;
};

} // namespace SmbusServer
