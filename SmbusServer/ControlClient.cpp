#include "SmbusServer/ControlClient.h"

#include "SmbusServer/Log.h"
#include "SmbusServer/UnixSocket.h"

#include <array>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <string_view>
#include <sys/socket.h>

namespace SmbusServer {

static bool sendLine( int fd, const std::string &line ) {
    const std::string text = line + "\n";
    size_t sent = 0;
    while ( sent < text.size() ) {
        const ssize_t count = send( fd, text.data() + sent, text.size() - sent, MSG_NOSIGNAL );
        if ( count < 0 && errno == EINTR ) {
            continue;
        }
        if ( count <= 0 ) {
            return false;
        }
        sent += static_cast<size_t>( count );
    }
    return true;
}

// The line that ends an answer is "ok" or "error: …".
static bool isWhole( std::string_view answer ) {
    if ( !answer.ends_with( '\n' ) ) {
        return false;
    }
    answer.remove_suffix( 1 );
    const std::string_view last = answer.substr( answer.rfind( '\n' ) + 1 );
    return last == "ok" || last.starts_with( "error: " );
}

static std::string receiveAnswer( int fd ) {
    std::string answer;
    while ( !isWhole( answer ) ) {
        std::array<char, 4096> buffer;
        const ssize_t count = recv( fd, buffer.data(), buffer.size(), 0 );
        if ( count < 0 && errno == EINTR ) {
            continue;
        }
        if ( count <= 0 ) {
            return {};
        }
        answer.append( buffer.data(), static_cast<size_t>( count ) );
    }
    return answer;
}

int runControlClient( const std::string &path, const std::string &line ) {
    const Descriptor connection = connectTo( path, false );
    if ( !connection.valid() ) {
        logEvent( "%s: no server there: %s", path.c_str(), strerror( errno ) );
        return 3;
    }
    const std::string answer =
        sendLine( connection.get(), line ) ? receiveAnswer( connection.get() ) : std::string();
    if ( answer.empty() ) {
        logEvent( "%s: the server hung up without an answer; is it its control socket?",
                  path.c_str() );
        return 3;
    }
    if ( answer.starts_with( "error: " ) ) {
        fputs( answer.c_str(), stderr );
        return 1;
    }
    fputs( answer.substr( 0, answer.size() - strlen( "ok\n" ) ).c_str(), stdout );
    return 0;
}

} // namespace SmbusServer
