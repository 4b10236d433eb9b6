#include "SmbusServer/ServiceManager.h"

#include "SmbusServer/UnixSocket.h"

#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <string>
#include <string_view>
#include <sys/socket.h>
#include <systemd/sd-daemon.h>
#include <vector>

namespace SmbusServer {

static Descriptor checked( int fd, const std::string &name ) {
    Descriptor taken( fd );
    if ( sd_is_socket_unix( fd, SOCK_STREAM, 1, nullptr, 0 ) <= 0 ) {
        throw SocketError( "the socket '" + name +
                           "' that was handed over is no listening Unix stream socket" );
    }
    fcntl( fd, F_SETFL, O_NONBLOCK );
    return taken;
}

// A unit gives one name to all its sockets: two in one unit differ by their paths alone.
static bool isControl( const Descriptor &socket, const std::string &name ) {
    return name == "control" || socketPath( socket.get() ).ends_with( ".ctl" );
}

/// The names of the sockets that were handed over, in their order.
static std::vector<std::string> handedNames() {
    char **names = nullptr;
    const int count = sd_listen_fds_with_names( 1, &names );
    if ( count < 0 ) {
        throw SocketError( std::string( "sockets handed over by systemd: " ) + strerror( -count ) );
    }
    std::vector<std::string> copies( names, names + count );
    for ( int i = 0; i < count; ++i ) {
        free( names[i] );
    }
    free( names );
    return copies;
}

HandedSockets takeHandedSockets() {
    HandedSockets sockets;
    int next = SD_LISTEN_FDS_START;
    std::string problem;
    for ( const std::string &name : handedNames() ) {
        Descriptor taken = checked( next++, name );
        Descriptor &place = isControl( taken, name ) ? sockets.control : sockets.clients;
        if ( place.valid() ) {
            problem = "two sockets were handed over where one is wanted: '" + name + "'";
        }
        place = std::move( taken );
    }
    if ( !problem.empty() ) {
        throw SocketError( problem );
    }
    return sockets;
}

void tellReady() {
    sd_notify( 0, "READY=1" );
}

void tellReloading() {
    sd_notify( 0, "RELOADING=1" );
}

void tellStopping() {
    sd_notify( 0, "STOPPING=1" );
}

void answerWatchdog( sd_event *loop ) {
    sd_event_set_watchdog( loop, 1 );
}

} // namespace SmbusServer
