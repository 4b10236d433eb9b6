#include "HostTool/Host/Server.h"

#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>

namespace HostTool {

std::string serverSocket() {
    const char *path = getenv( "SMBUSD_SOCKET" );
    return path && *path ? path : "/run/smbusd.sock";
}

ServerConnection connectToServer( const std::string &socketPath ) {
    sockaddr_un address = {};
    address.sun_family = AF_UNIX;
    if ( socketPath.size() >= sizeof( address.sun_path ) ) {
        return { -1, ENAMETOOLONG };
    }
    socketPath.copy( address.sun_path, socketPath.size() );
    const int socketFd = socket( AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0 );
    if ( socketFd < 0 ) {
        return { -1, errno };
    }
    if ( connect( socketFd, reinterpret_cast<const sockaddr *>( &address ), sizeof( address ) ) !=
         0 ) {
        const int cause = errno;
        close( socketFd );
        return { -1, cause };
    }
    return { socketFd, 0 };
}

std::string whyNoServer( const std::string &socketPath ) {
    const ServerConnection connection = connectToServer( socketPath );
    if ( connection.fd >= 0 ) {
        close( connection.fd );
    }
    if ( connection.error == ENAMETOOLONG ) {
        return "the path is longer than a socket's may be";
    }
    // A server that is busy answers so and is there all the same.
    return connection.error == 0 || connection.error == EAGAIN ? "" : strerror( connection.error );
}

std::string noServerMessage( const std::string &socketPath, const std::string &reason,
                             const std::string &boardFolder ) {
    return "no SMBus server at " + socketPath + ": " + reason +
           "\n  start one:   kavra-smbusd --socket " + socketPath + " --board " + boardFolder +
           "/emulation.json"
           "\n  another one: kavractl --socket PATH, or SMBUSD_SOCKET=PATH"
           "\n  wait for it: kavractl --wait";
}

} // namespace HostTool
