#include "SmbusServer/Peer.h"

#include <algorithm>
#include <cerrno>
#include <sys/socket.h>
#include <unistd.h>
#include <vector>

namespace SmbusServer {

Peer peerOf( int socket ) {
    ucred found = {};
    socklen_t size = sizeof found;
    getsockopt( socket, SOL_SOCKET, SO_PEERCRED, &found, &size );
    return { found.pid, found.uid, found.gid };
}

std::string describe( const Peer &peer ) {
    return "pid " + std::to_string( peer.pid ) + ", uid " + std::to_string( peer.uid );
}

// The kernel tells the size it wants when the buffer is too small.
static std::vector<gid_t> furtherGroups( int socket ) {
    std::vector<gid_t> groups( 32 );
    for ( ;; ) {
        auto size = static_cast<socklen_t>( groups.size() * sizeof( gid_t ) );
        const int result = getsockopt( socket, SOL_SOCKET, SO_PEERGROUPS, groups.data(), &size );
        if ( result != 0 && errno != ERANGE ) {
            return {};
        }
        groups.resize( size / sizeof( gid_t ) );
        if ( result == 0 ) {
            return groups;
        }
    }
}

bool mayUse( int socket, gid_t group ) {
    const Peer peer = peerOf( socket );
    if ( peer.uid == 0 || peer.uid == geteuid() || peer.gid == group ) {
        return true;
    }
    const std::vector<gid_t> groups = furtherGroups( socket );
    return std::find( groups.begin(), groups.end(), group ) != groups.end();
}

} // namespace SmbusServer
