#include "benchmarks/support/BarePingPong.h"

#include <arpa/inet.h>
#include <cstring>
#include <stdexcept>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>
#include <utility>

BarePingPong::BarePingPong( const std::string &path, const Smbus::TransactionRequest &request )
    : BarePingPong( path, std::vector{ request } ) {}

BarePingPong::BarePingPong( const std::string &path,
                            std::vector<Smbus::TransactionRequest> requests )
    : fd_( socket( AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0 ) ), requests_( std::move( requests ) ),
      buffer_( 1 << 18, '\0' ) {
    sockaddr_un name{};
    name.sun_family = AF_UNIX;
    path.copy( name.sun_path, sizeof name.sun_path - 1 );
    if ( connect( fd_, reinterpret_cast<sockaddr *>( &name ), sizeof name ) != 0 ) {
        throw std::runtime_error( "no server at " + path );
    }
}

BarePingPong::~BarePingPong() {
    close( fd_ );
}

void BarePingPong::batch() {
    const Smbus::TransactionRequest &request = requests_[next_];
    next_ = next_ + 1 == requests_.size() ? 0 : next_ + 1;
    const size_t size = request.ByteSizeLong();
    const uint32_t length = htonl( static_cast<uint32_t>( size ) );
    memcpy( buffer_.data(), &length, sizeof length );
    request.SerializeWithCachedSizesToArray( reinterpret_cast<uint8_t *>( buffer_.data() + 4 ) );
    send( fd_, buffer_.data(), size + 4, MSG_NOSIGNAL );
    const ssize_t got = recv( fd_, buffer_.data(), buffer_.size(), 0 );
    if ( got < 4 || !response_.ParseFromArray( buffer_.data() + 4, static_cast<int>( got ) - 4 ) ) {
        throw std::runtime_error( "no answer" );
    }
}
