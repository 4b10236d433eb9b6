#include "tests/soak/ControlSocket.h"

#include <array>
#include <cerrno>
#include <cstring>
#include <stdexcept>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

namespace Soak {

static std::runtime_error failure( const std::string &what ) {
    return std::runtime_error( "the control socket: " + what );
}

ControlSocket::ControlSocket( const std::string &path )
    : fd_( socket( AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0 ) ) {
    sockaddr_un address = {};
    address.sun_family = AF_UNIX;
    path.copy( address.sun_path, sizeof address.sun_path - 1 );
    if ( connect( fd_, reinterpret_cast<const sockaddr *>( &address ), sizeof address ) != 0 ) {
        const int error = errno;
        close( fd_ );
        throw failure( strerror( error ) );
    }
}

ControlSocket::~ControlSocket() {
    close( fd_ );
}

std::string ControlSocket::ask( const std::vector<std::string> &lines ) {
    std::string text;
    for ( const std::string &line : lines ) {
        text += line;
        text += '\n';
    }
    const ssize_t sent = send( fd_, text.data(), text.size(), MSG_NOSIGNAL );
    if ( sent != static_cast<ssize_t>( text.size() ) ) {
        throw failure( "the server takes no commands" );
    }
    return receiveAnswers( lines.size() );
}

// An answer ends with a line "ok" or "error: …"; no data line looks like one of them.
std::string ControlSocket::receiveAnswers( size_t count ) {
    std::string data;
    while ( count > 0 ) {
        const size_t end = input_.find( '\n' );
        if ( end == std::string::npos ) {
            std::array<char, 16384> buffer;
            const ssize_t length = recv( fd_, buffer.data(), buffer.size(), 0 );
            if ( length <= 0 ) {
                throw failure( "the server has hung up" );
            }
            input_.append( buffer.data(), static_cast<size_t>( length ) );
            continue;
        }
        const std::string line = input_.substr( 0, end );
        input_.erase( 0, end + 1 );
        if ( line == "ok" ) {
            --count;
        } else if ( line.starts_with( "error: " ) ) {
            throw failure( line );
        } else {
            data += line + "\n";
        }
    }
    return data;
}

} // namespace Soak
