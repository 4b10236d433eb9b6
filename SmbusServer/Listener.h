#pragma once

#include "SmbusServer/EventLoop.h"
#include "SmbusServer/UnixSocket.h"

#include <functional>
#include <memory>
#include <string>
#include <vector>

namespace SmbusServer {

/// What is kept for a client as long as it is connected.
class Session {
  public:
    virtual ~Session() = default;
    /// Whether the client has something coming that it was promised: an answer.
    virtual bool busy() const { return false; }
};

/// A socket that listens, and the sessions of those who connected to it.
class Listener {
  public:
    /// More clients wait in the socket's queue.
    static constexpr size_t mostSessions = 256;

    /// Makes the session of a client from its non-blocking, close-on-exec socket.
    using NewSession = std::function<std::unique_ptr<Session>( Descriptor, Listener & )>;

    /// @throw SocketError when the socket cannot be watched.
    Listener( sd_event *loop, ListeningSocket socket, NewSession newSession );

    /// Destroys the session; the session itself may call this as its last act.
    void ended( Session &session );
    /// Its answer has been taken. The session itself may call this as its last act.
    void idle( Session &session );

    /// Nobody is accepted any more, and every session ends as soon as it is not busy.
    /// @param done called once there is none left, perhaps at once.
    void drain( std::function<void()> done );
    bool drained() const { return drained_ && sessions_.empty(); }

  private:
    static int ready( sd_event_source *source, int fd, uint32_t events, void *self );
    void accept();
    void admit( Descriptor client );
    void pause( const char *reason );

    ListeningSocket socket_;
    NewSession newSession_;
    std::vector<std::unique_ptr<Session>> sessions_;
    std::function<void()> drained_; // set while it drains
    EventSource source_;
};

} // namespace SmbusServer
