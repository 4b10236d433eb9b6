#include "HostTool/Metrics/Listener.h"

#include "HostTool/Failure.h"
#include "HostTool/Host/Server.h"

#include <arpa/inet.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

#include <cerrno>
#include <charconv>
#include <cstring>
#include <optional>

namespace HostTool::Metrics {

namespace {

constexpr std::string_view unixPrefix = "unix:";
constexpr int backlog = 16;
constexpr mode_t othersMask = S_IXUSR | S_IXGRP | S_IRWXO;

struct Address {
    sockaddr_storage storage = {};
    socklen_t length = 0;

    const sockaddr *get() const { return reinterpret_cast<const sockaddr *>( &storage ); }
    sockaddr *get() { return reinterpret_cast<sockaddr *>( &storage ); }
};

bool isLoopback( const in_addr &address ) {
    constexpr unsigned shift = 24;
    return ntohl( address.s_addr ) >> shift == IN_LOOPBACKNET;
}

/// The address in numbers; nothing when it is none of this machine's own.
std::optional<Address> loopback( const std::string &host, uint16_t port ) {
    Address address;
    auto *ip4 = reinterpret_cast<sockaddr_in *>( &address.storage );
    if ( inet_pton( AF_INET, host.c_str(), &ip4->sin_addr ) == 1 ) {
        ip4->sin_family = AF_INET;
        ip4->sin_port = htons( port );
        address.length = sizeof( *ip4 );
        return isLoopback( ip4->sin_addr ) ? std::optional( address ) : std::nullopt;
    }
    auto *ip6 = reinterpret_cast<sockaddr_in6 *>( &address.storage );
    const bool isBracketed = host.size() > 2 && host.front() == '[' && host.back() == ']';
    if ( isBracketed &&
         inet_pton( AF_INET6, host.substr( 1, host.size() - 2 ).c_str(), &ip6->sin6_addr ) == 1 ) {
        ip6->sin6_family = AF_INET6;
        ip6->sin6_port = htons( port );
        address.length = sizeof( *ip6 );
        return IN6_IS_ADDR_LOOPBACK( &ip6->sin6_addr ) ? std::optional( address ) : std::nullopt;
    }
    return std::nullopt;
}

std::optional<uint16_t> portIn( std::string_view text ) {
    uint16_t port = 0;
    const auto [stop, error] = std::from_chars( text.data(), text.data() + text.size(), port );
    const bool isPort = error == std::errc() && stop == text.data() + text.size() && !text.empty();
    return isPort ? std::optional( port ) : std::nullopt;
}

uint16_t boundPort( int fd ) {
    Address address;
    address.length = sizeof( address.storage );
    getsockname( fd, address.get(), &address.length );
    return ntohs( address.storage.ss_family == AF_INET
                      ? reinterpret_cast<sockaddr_in *>( &address.storage )->sin_port
                      : reinterpret_cast<sockaddr_in6 *>( &address.storage )->sin6_port );
}

} // namespace

Listener::Listener( const std::string &where ) : where_( where ) {
    if ( where.starts_with( unixPrefix ) ) {
        listenOnUnix( where.substr( unixPrefix.size() ) );
    } else {
        listenOnTcp( where );
    }
}

Listener::~Listener() {
    if ( fd_ >= 0 ) {
        close( fd_ );
    }
    struct stat file = {};
    if ( !path_.empty() && lstat( path_.c_str(), &file ) == 0 && file.st_ino == inode_ ) {
        unlink( path_.c_str() );
    }
}

void Listener::fail( const std::string &why ) const {
    throw Failure( ExitCode::badInput, "cannot listen on '" + where_ + "': " + why );
}

void Listener::listenOnTcp( const std::string &where ) {
    const size_t colon = where.rfind( ':' );
    const std::string host = where.substr( 0, colon );
    const auto port =
        colon == std::string::npos ? std::nullopt : portIn( where.substr( colon + 1 ) );
    if ( !port ) {
        fail( "--listen takes 127.0.0.1:PORT, [::1]:PORT or unix:PATH" );
    }
    const std::optional<Address> address = loopback( host, *port );
    if ( !address ) {
        fail( "only 127.0.0.1, [::1], in numbers, or a Unix socket: there is no encryption and no "
              "password; put "
              "a proxy that has both in front for readers elsewhere" );
    }
    fd_ = socket( address->storage.ss_family, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0 );
    constexpr int on = 1;
    if ( fd_ < 0 || setsockopt( fd_, SOL_SOCKET, SO_REUSEADDR, &on, sizeof( on ) ) != 0 ||
         bind( fd_, address->get(), address->length ) != 0 || listen( fd_, backlog ) != 0 ) {
        const int cause = errno;
        close( fd_ );
        fail( strerror( cause ) );
    }
    name_ = "http://" + host + ":" + std::to_string( boundPort( fd_ ) ) + "/metrics";
}

void Listener::removeDead( const std::string &path ) const {
    struct stat file = {};
    if ( lstat( path.c_str(), &file ) != 0 ) {
        return;
    }
    if ( !S_ISSOCK( file.st_mode ) ) {
        fail( "there is a file that is no socket" );
    }
    const ServerConnection probe = connectToServer( path );
    if ( probe.fd >= 0 ) {
        close( probe.fd );
    }
    if ( probe.error != ECONNREFUSED ) {
        fail( probe.error == 0 || probe.error == EAGAIN ? "somebody else listens there"
                                                        : strerror( probe.error ) );
    }
    unlink( path.c_str() );
}

void Listener::listenOnUnix( const std::string &path ) {
    sockaddr_un address = {};
    address.sun_family = AF_UNIX;
    if ( path.empty() || path.size() >= sizeof( address.sun_path ) ) {
        fail( path.empty() ? "it has no path" : "the path is longer than a socket's may be" );
    }
    path.copy( address.sun_path, path.size() );
    removeDead( path );
    fd_ = socket( AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0 );
    const mode_t before = umask( othersMask );
    const bool isBound = fd_ >= 0 && bind( fd_, reinterpret_cast<const sockaddr *>( &address ),
                                           sizeof( address ) ) == 0;
    int cause = errno;
    umask( before );
    struct stat file = {};
    if ( isBound && lstat( path.c_str(), &file ) == 0 ) {
        path_ = path;
        inode_ = file.st_ino;
    }
    const bool listens = isBound && listen( fd_, backlog ) == 0;
    cause = isBound ? errno : cause;
    if ( !listens ) {
        close( fd_ );
        fail( strerror( cause ) );
    }
    name_ = where_;
}

} // namespace HostTool::Metrics
