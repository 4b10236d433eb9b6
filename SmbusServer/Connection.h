#pragma once

#include "KavraUtil/Smbus.pb.h"
#include "SmbusServer/Backlog.h"
#include "SmbusServer/Listener.h"
#include "SmbusServer/Performer.h"
#include "SmbusServer/Stream.h"
#include "SmbusServer/Workspace.h"

#include <string>

namespace SmbusServer {

/// One client: a frame in, a frame out. What is no frame, no message or more than one frame at a
/// time ends the connection.
class Connection : public Session,
                   private Stream::Owner,
                   private Performer::Client,
                   private Backlog::Holder {
  public:
    /// All but the descriptor must outlive the connection.
    Connection( sd_event *loop, Descriptor descriptor, Listener &listener, Performer &performer,
                Workspace &workspace );
    ~Connection() override;

    bool busy() const override { return waiting_ || stream_.waiting(); }

  private:
    void readable() override;
    void flushed() override;
    void broken() override;
    void performed( const Smbus::TransactionResponse &response ) override;
    void hangUp( bool afterNextAnswer ) override;

    void evict() override;

    void tellBacklog();
    void serve( std::string_view frame );
    void answer( const Smbus::TransactionResponse &response );
    void refuse( const char *reason );

    Listener &listener_;
    Performer &performer_;
    Workspace &workspace_;
    std::string partial_;  // a frame whose end has not arrived
    bool waiting_ = false; // for the answer to a batch
    bool leaving_ = false; // hangs up behind the next answer
    bool inBacklog_ = false;
    Stream stream_;
};

} // namespace SmbusServer
