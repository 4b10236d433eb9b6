#include "SmbusServer/Listener.h"

#include "SmbusServer/Log.h"
#include "SmbusServer/Peer.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <exception>
#include <sys/epoll.h>
#include <sys/socket.h>
#include <utility>

namespace SmbusServer {

Listener::Listener( sd_event *loop, ListeningSocket socket, NewSession newSession )
    : socket_( std::move( socket ) ), newSession_( std::move( newSession ) ) {
    sd_event_source *source = nullptr;
    const int result = sd_event_add_io( loop, &source, socket_.fd(), EPOLLIN, ready, this );
    if ( result < 0 ) {
        throw SocketError( socket_.path() + ": cannot be watched: " + strerror( -result ) );
    }
    source_.reset( source );
}

int Listener::ready( sd_event_source *, int, uint32_t, void *userdata ) {
    static_cast<Listener *>( userdata )->accept();
    return 0;
}

void Listener::accept() {
    if ( sessions_.size() == mostSessions ) {
        pause( "too many clients" );
        return;
    }
    Descriptor client( accept4( socket_.fd(), nullptr, nullptr, SOCK_NONBLOCK | SOCK_CLOEXEC ) );
    if ( client.valid() ) {
        admit( std::move( client ) );
    } else if ( errno == EMFILE || errno == ENFILE || errno == ENOBUFS || errno == ENOMEM ) {
        pause( strerror( errno ) );
    }
}

void Listener::admit( Descriptor client ) {
    const Peer peer = peerOf( client.get() );
    try {
        sessions_.push_back( newSession_( std::move( client ), *this ) );
    } catch ( const std::exception &error ) {
        logClientEvent( peer.pid, "%s: a client (%s) is turned away: %s", socket_.path().c_str(),
                        describe( peer ).c_str(), error.what() );
    }
}

// A client that cannot be accepted keeps the socket ready; watching it would spin. The end of a
// session makes room.
void Listener::pause( const char *reason ) {
    constexpr pid_t allClients = 0;
    logClientEvent( allClients, "%s: nobody is accepted for now: %s", socket_.path().c_str(),
                    reason );
    sd_event_source_set_enabled( source_.get(), SD_EVENT_OFF );
}

void Listener::ended( Session &session ) {
    std::erase_if( sessions_, [&]( const auto &each ) { return each.get() == &session; } );
    if ( !drained_ ) {
        sd_event_source_set_enabled( source_.get(), SD_EVENT_ON );
    } else if ( sessions_.empty() ) {
        drained_();
    }
}

void Listener::idle( Session &session ) {
    if ( drained_ ) {
        ended( session );
    }
}

void Listener::drain( std::function<void()> done ) {
    source_.reset();
    socket_.close();
    drained_ = std::move( done );
    std::erase_if( sessions_, []( const auto &each ) { return !each->busy(); } );
    if ( sessions_.empty() ) {
        drained_();
    }
}

} // namespace SmbusServer
