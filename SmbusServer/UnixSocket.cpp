#include "SmbusServer/UnixSocket.h"

#include "SmbusServer/StartLock.h"

#include <cerrno>
#include <cstddef>
#include <cstring>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>

namespace SmbusServer {

constexpr mode_t ownerAndGroup = 0660;

static bool fillAddress( sockaddr_un &address, const std::string &path ) {
    address = {};
    address.sun_family = AF_UNIX;
    if ( path.empty() || path.size() >= sizeof address.sun_path ) {
        errno = path.empty() ? EINVAL : ENAMETOOLONG;
        return false;
    }
    memcpy( address.sun_path, path.data(), path.size() );
    return true;
}

static Descriptor newSocket( bool nonBlocking ) {
    return Descriptor(
        socket( AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC | ( nonBlocking ? SOCK_NONBLOCK : 0 ), 0 ) );
}

Descriptor connectTo( const std::string &path, bool nonBlocking ) {
    sockaddr_un address;
    if ( !fillAddress( address, path ) ) {
        return Descriptor();
    }
    Descriptor made = newSocket( nonBlocking );
    if ( connect( made.get(), reinterpret_cast<const sockaddr *>( &address ), sizeof address ) !=
         0 ) {
        return Descriptor();
    }
    return made;
}

ListeningSocket::ListeningSocket( const std::string &path )
    : path_( path ), descriptor_( newSocket( true ) ) {
    const StartLock lock( path_ );
    removeStale();
    listenThere();
    struct stat made;
    if ( stat( path_.c_str(), &made ) == 0 ) {
        device_ = made.st_dev;
        inode_ = made.st_ino;
    }
}

std::string socketPath( int fd ) {
    sockaddr_un address = {};
    socklen_t size = sizeof address;
    getsockname( fd, reinterpret_cast<sockaddr *>( &address ), &size );
    return std::string( address.sun_path, strnlen( address.sun_path, sizeof address.sun_path ) );
}

ListeningSocket::ListeningSocket( Descriptor handedOver )
    : path_( socketPath( handedOver.get() ) ), descriptor_( std::move( handedOver ) ) {}

void ListeningSocket::removeStale() const {
    struct stat existing;
    if ( lstat( path_.c_str(), &existing ) != 0 ) {
        return; // nothing there; anything else is bind()'s to report
    }
    if ( !S_ISSOCK( existing.st_mode ) ) {
        throw SocketError( path_ + ": there is a file that is no socket" );
    }
    // A server that does not accept at the moment gives EAGAIN: it lives.
    if ( connectTo( path_, true ).valid() || errno == EAGAIN ) {
        throw SocketError( path_ + ": another server is listening there" );
    }
    if ( errno != ECONNREFUSED ) {
        throw SocketError( path_ + ": " + strerror( errno ) );
    }
    if ( unlink( path_.c_str() ) != 0 ) {
        throw SocketError( path_ + ": a stale socket cannot be removed: " + strerror( errno ) );
    }
}

void ListeningSocket::listenThere() {
    sockaddr_un address;
    bool done = fillAddress( address, path_ );
    if ( done ) {
        const mode_t before = umask( 0777 & ~ownerAndGroup );
        done = bind( fd(), reinterpret_cast<const sockaddr *>( &address ), sizeof address ) == 0;
        const int reason = errno;
        umask( before );
        errno = reason;
    }
    if ( !done || listen( fd(), SOMAXCONN ) != 0 ) {
        throw SocketError( path_ + ": " + strerror( errno ) );
    }
}

void ListeningSocket::groupIs( gid_t group ) const {
    constexpr auto sameOwner = static_cast<uid_t>( -1 );
    struct stat now;
    if ( inode_ == 0 || ( stat( path_.c_str(), &now ) == 0 && now.st_gid == group ) ) {
        return;
    }
    if ( chown( path_.c_str(), sameOwner, group ) != 0 ) {
        throw SocketError( path_ + ": cannot be given to the group: " + strerror( errno ) );
    }
}

// While the descriptor is open, another server finds us alive and keeps its hands off the file.
void ListeningSocket::close() {
    struct stat now;
    const bool ours = descriptor_.valid() && inode_ != 0 && stat( path_.c_str(), &now ) == 0 &&
                      now.st_dev == device_ && now.st_ino == inode_;
    if ( ours ) {
        unlink( path_.c_str() );
    }
    descriptor_ = Descriptor();
}

ListeningSocket::~ListeningSocket() {
    close();
}

} // namespace SmbusServer
