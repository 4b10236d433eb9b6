#include "tests/SmbusServer/RawClient.h"

#include <cerrno>
#include <cstring>
#include <gtest/gtest.h>
#include <stdexcept>
#include <sys/socket.h>
#include <sys/time.h>
#include <sys/un.h>
#include <unistd.h>

RawClient::RawClient( const std::string &path )
    : fd_( socket( AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0 ) ) {
    const timeval limit = { 20, 0 };
    setsockopt( fd_, SOL_SOCKET, SO_RCVTIMEO, &limit, sizeof limit );
    sockaddr_un address = {};
    address.sun_family = AF_UNIX;
    path.copy( address.sun_path, sizeof address.sun_path - 1 );
    if ( connect( fd_, reinterpret_cast<const sockaddr *>( &address ), sizeof address ) != 0 ) {
        throw std::runtime_error( path + ": " + strerror( errno ) );
    }
}

RawClient::~RawClient() {
    close( fd_ );
}

void RawClient::send( std::string_view bytes ) {
    while ( !bytes.empty() ) {
        const ssize_t count = ::send( fd_, bytes.data(), bytes.size(), MSG_NOSIGNAL );
        if ( count <= 0 ) {
            return; // the server has hung up; what it answers tells
        }
        bytes.remove_prefix( static_cast<size_t>( count ) );
    }
}

void RawClient::send( const Smbus::TransactionRequest &request ) {
    send( frame( request.SerializeAsString() ) );
}

void RawClient::endOfInput() {
    shutdown( fd_, SHUT_WR );
}

std::string RawClient::receive( size_t count ) {
    std::string bytes( count, '\0' );
    size_t there = 0;
    while ( there < count ) {
        const ssize_t part = recv( fd_, bytes.data() + there, count - there, 0 );
        // A process that is stopped and continued: a call with a time limit does not go on.
        if ( part < 0 && errno == EINTR ) {
            continue;
        }
        if ( part < 0 && errno != ECONNRESET ) {
            ADD_FAILURE() << "the server says nothing: " << strerror( errno );
        }
        if ( part <= 0 ) {
            break;
        }
        there += static_cast<size_t>( part );
    }
    bytes.resize( there );
    return bytes;
}

std::string RawClient::receiveLine() {
    std::string line;
    while ( !line.ends_with( '\n' ) ) {
        const std::string next = receive( 1 );
        if ( next.empty() ) {
            break;
        }
        line += next;
    }
    return line;
}

std::optional<Smbus::TransactionResponse> RawClient::answer() {
    const std::string header = receive( 4 );
    if ( header.size() < 4 ) {
        return std::nullopt;
    }
    size_t length = 0;
    for ( const char byte : header ) {
        length = length << 8 | static_cast<unsigned char>( byte );
    }
    const std::string payload = receive( length );
    if ( payload.size() < length ) {
        return std::nullopt;
    }
    Smbus::TransactionResponse message;
    EXPECT_TRUE( message.ParseFromString( payload ) );
    return message;
}

std::optional<Smbus::TransactionResponse>
RawClient::ask( const Smbus::TransactionRequest &request ) {
    send( request );
    return answer();
}

std::string RawClient::frame( const std::string &payload ) {
    const size_t length = payload.size();
    std::string bytes;
    for ( int shift = 24; shift >= 0; shift -= 8 ) {
        bytes += static_cast<char>( length >> shift & 0xff );
    }
    return bytes + payload;
}
