#pragma once

#include "SmbusServer/Descriptor.h"
#include "SmbusServer/EventLoop.h"
#include "SmbusServer/Peer.h"

#include <cstddef>
#include <optional>
#include <span>
#include <string>
#include <string_view>

namespace SmbusServer {

/// A connected socket on the event loop. What the peer does not take at once waits here, and
/// nothing is read in the meantime.
class Stream {
  public:
    /// May destroy the stream in either call.
    class Owner {
      public:
        virtual void readable() = 0;
        /// Everything that waited has been taken.
        virtual void flushed() = 0;
        /// The peer takes nothing any more.
        virtual void broken() = 0;

      protected:
        ~Owner() = default;
    };

    /// @param owner must outlive the stream.
    Stream( sd_event *loop, Descriptor descriptor, Owner &owner );
    Stream( const Stream & ) = delete;
    Stream &operator=( const Stream & ) = delete;

    /// One system call.
    /// @return the number of bytes; 0 at the end or after an error; nothing when none are there.
    std::optional<size_t> receive( std::span<char> buffer );
    /// One system call; the rest is sent from the event loop.
    /// @return false when the peer is gone.
    bool send( std::string_view bytes );
    /// Lets the peer's next bytes fail before any of them is taken. What is sent still arrives.
    void refusesMore();
    /// Whether bytes that arrive are told of. A peer that is gone always is: readable() is called.
    void receivingIs( bool receiving );
    bool waiting() const { return !unsent_.empty(); }

    /// "client 4 (pid 812, uid 0)"
    const std::string &name() const { return name_; }
    /// The client's process.
    pid_t pid() const { return peer_.pid; }
    /// What waits to be taken.
    size_t unsentBytes() const { return unsent_.size(); }

  private:
    static int ready( sd_event_source *source, int fd, uint32_t events, void *self );
    void flush();

    Descriptor descriptor_;
    Owner &owner_;
    Peer peer_;
    std::string name_;
    std::string unsent_;
    EventSource source_;
};

} // namespace SmbusServer
