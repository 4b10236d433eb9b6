#include "HostTool/Server.h"

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

std::string whyNoServer( const std::string &socketPath ) {
    sockaddr_un address = {};
    address.sun_family = AF_UNIX;
    if ( socketPath.size() >= sizeof( address.sun_path ) ) {
        return "the path is longer than a socket's may be";
    }
    socketPath.copy( address.sun_path, socketPath.size() );
    // A server that is busy answers EAGAIN here and is there all the same.
    const int socketFd = socket( AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0 );
    if ( socketFd < 0 ) {
        return strerror( errno );
    }
    const int result =
        connect( socketFd, reinterpret_cast<const sockaddr *>( &address ), sizeof( address ) );
    const int cause = result == 0 || errno == EAGAIN ? 0 : errno;
    close( socketFd );
    return cause == 0 ? "" : strerror( cause );
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
