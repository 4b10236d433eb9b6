#include "fuzz/ServedSession.h"

#include "fuzz/Contract.h"
#include "fuzz/Files.h"
#include "SmbusServer/EventLoop.h"

#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>
#include <utility>

namespace Fuzz {

using namespace SmbusServer;

namespace {

// A socket that listens at a place that the system chooses, in no folder.
int listeningSocket() {
    const int fd = socket( AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0 );
    sockaddr_un anywhere{};
    anywhere.sun_family = AF_UNIX;
    require( bind( fd, reinterpret_cast<sockaddr *>( &anywhere ), sizeof anywhere.sun_family ) ==
                     0 &&
                 listen( fd, 1 ) == 0,
             "a socket that listens" );
    return fd;
}

Descriptor connectedTo( int listening ) {
    Descriptor client( socket( AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0 ) );
    sockaddr_un place{};
    socklen_t size = sizeof place;
    require( getsockname( listening, reinterpret_cast<sockaddr *>( &place ), &size ) == 0 &&
                 connect( client.get(), reinterpret_cast<sockaddr *>( &place ), size ) == 0,
             "a client connects" );
    return client;
}

EventLoop newLoop() {
    sd_event *loop = nullptr;
    require( sd_event_new( &loop ) >= 0, "an event loop" );
    return EventLoop( loop );
}

void runOut( sd_event *loop ) {
    while ( sd_event_run( loop, 0 ) > 0 ) {
    }
}

void receiveInto( std::string &received, int client ) {
    char buffer[4096];
    for ( ;; ) {
        const ssize_t count = recv( client, buffer, sizeof buffer, MSG_DONTWAIT );
        if ( count <= 0 ) {
            return;
        }
        received.append( buffer, static_cast<size_t>( count ) );
    }
}

} // namespace

std::string serveClient( const NewSession &newSession, const std::vector<std::string> &pieces ) {
    static const int listening = listeningSocket();
    const EventLoop loop = newLoop();
    Listener listener( loop.get(), ListeningSocket( Descriptor( dup( listening ) ) ),
                       [&]( Descriptor socket, Listener &owner ) {
                           return newSession( loop.get(), std::move( socket ), owner );
                       } );
    std::string received;
    const Descriptor client = connectedTo( listening );
    runOut( loop.get() );
    for ( const std::string &piece : pieces ) {
        static_cast<void>(
            send( client.get(), piece.data(), piece.size(), MSG_NOSIGNAL | MSG_DONTWAIT ) );
        runOut( loop.get() );
        receiveInto( received, client.get() );
    }
    shutdown( client.get(), SHUT_WR );
    for ( size_t before = received.size() + 1; before != received.size(); ) {
        before = received.size();
        runOut( loop.get() );
        receiveInto( received, client.get() );
    }
    bool drained = false;
    listener.drain( [&] { drained = true; } );
    runOut( loop.get() );
    require( drained, "the session ends when its client has gone" );
    return received;
}

std::string smallBoard() {
    static const std::string document =
        textOfFile( FUZZ_DIR "/../tests/data/check/board/emulation.json" );
    return document;
}

} // namespace Fuzz
