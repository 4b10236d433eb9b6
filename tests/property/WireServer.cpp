#include "tests/property/WireServer.h"

#include "KavraGeneric/Library.h"

#include <arpa/inet.h>
#include <cerrno>
#include <cstring>
#include <string>
#include <sys/socket.h>
#include <system_error>
#include <unistd.h>
#include <utility>

namespace Property {

namespace {

constexpr std::size_t lengthSize = 4;

bool receiveAll( int fd, char *bytes, std::size_t size ) {
    return size == 0 || ::recv( fd, bytes, size, MSG_WAITALL ) == static_cast<ssize_t>( size );
}

} // namespace

WireServer::WireServer( Function function ) : function_( std::move( function ) ) {
    int ends[2];
    if ( ::socketpair( AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends ) != 0 ) {
        throw std::system_error( errno, std::generic_category(), "socketpair" );
    }
    fd_ = ends[0];
    _plSock = new PlatformLibrary::PLSocket;
    _plSock->fd = ends[1];
    thread_ = std::thread( [this] { serve(); } );
}

WireServer::~WireServer() {
    delete std::exchange( _plSock, nullptr );
    thread_.join();
    ::close( fd_ );
}

void WireServer::serve() {
    uint32_t length = 0;
    while ( receiveAll( fd_, reinterpret_cast<char *>( &length ), lengthSize ) ) {
        std::string frame( ntohl( length ), '\0' );
        Smbus::TransactionRequest batch;
        if ( !receiveAll( fd_, frame.data(), frame.size() ) || !batch.ParseFromString( frame ) ) {
            return;
        }
        const std::string body = function_( batch ).SerializeAsString();
        length = htonl( static_cast<uint32_t>( body.size() ) );
        frame.assign( lengthSize, '\0' );
        std::memcpy( frame.data(), &length, lengthSize );
        frame += body;
        if ( ::send( fd_, frame.data(), frame.size(), MSG_NOSIGNAL ) !=
             static_cast<ssize_t>( frame.size() ) ) {
            return;
        }
    }
}

} // namespace Property
