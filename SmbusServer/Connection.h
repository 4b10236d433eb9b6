#pragma once

#include "KavraUtil/Smbus.pb.h"
#include "SmbusServer/Frame.h"
#include "SmbusServer/Listener.h"
#include "SmbusServer/Stream.h"
#include "SmbusServer/Transaction.h"

#include <memory>
#include <string>

namespace SmbusServer {

/// Buffers and messages that live longer than a batch, so that a warm one allocates nothing. All
/// connections share them: one batch is in hand at a time.
struct Workspace {
    std::unique_ptr<char[]> frame = std::make_unique_for_overwrite<char[]>( largestFrame );
    Smbus::TransactionRequest request;
    Smbus::TransactionResponse response;
};

/// One client: a frame in, a frame out. What is no frame, no message or more than one frame at a
/// time ends the connection.
class Connection : public Session, private Stream::Owner {
  public:
    /// All but the descriptor must outlive the connection.
    Connection( sd_event *loop, Descriptor descriptor, Listener &listener, Transaction &transaction,
                Workspace &workspace );

  private:
    void readable() override;
    void flushed() override {}
    void broken() override;

    void serve( std::string_view frame );
    void answer();
    void refuse( const char *reason );

    Listener &listener_;
    Transaction &transaction_;
    Workspace &workspace_;
    std::string partial_; // a frame whose end has not arrived
    Stream stream_;
};

} // namespace SmbusServer
