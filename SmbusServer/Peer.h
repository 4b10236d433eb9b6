#pragma once

#include <string>
#include <sys/types.h>

namespace SmbusServer {

/// Who is at the other end of a connected Unix socket: the process as it was when it connected.
struct Peer {
    pid_t pid = 0;
    uid_t uid = 0;
    gid_t gid = 0;
};

Peer peerOf( int socket );
/// "pid 812, uid 0"
std::string describe( const Peer &peer );

/// Whether the peer is root, this server's own user, or in the group: as its primary group or as
/// one of its further ones.
bool mayUse( int socket, gid_t group );

} // namespace SmbusServer
