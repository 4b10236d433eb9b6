#include "benchmarks/support/SentFrames.h"

#include <arpa/inet.h>
#include <cstring>
#include <dlfcn.h>
#include <stdexcept>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

static constexpr size_t lengthSize = sizeof( uint32_t );
static constexpr size_t largestFrame = 1 << 16;

static std::vector<std::string> kept;
static bool isKeeping = false;

// Stands before the C library's: the library under test sends through it.
extern "C" ssize_t send( int fd, const void *data, size_t size, int flags ) {
    using Send = ssize_t( int, const void *, size_t, int );
    static auto *const next = reinterpret_cast<Send *>( dlsym( RTLD_NEXT, "send" ) );
    if ( isKeeping ) {
        kept.emplace_back( static_cast<const char *>( data ), size );
    }
    return next( fd, data, size, flags );
}

void SentFrames::start() {
    kept.clear();
    isKeeping = true;
}

std::vector<std::string> SentFrames::stop() {
    isKeeping = false;
    return kept;
}

std::vector<Smbus::TransactionRequest> requestsIn( const std::vector<std::string> &frames ) {
    std::vector<Smbus::TransactionRequest> requests( frames.size() );
    for ( size_t i = 0; i < frames.size(); ++i ) {
        requests[i].ParseFromString( frames[i].substr( lengthSize ) );
    }
    return requests;
}

BareReplay::BareReplay( const std::string &path )
    : fd_( socket( AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0 ) ), outgoing_( largestFrame, '\0' ),
      answer_( largestFrame, '\0' ) {
    sockaddr_un name{};
    name.sun_family = AF_UNIX;
    path.copy( name.sun_path, sizeof name.sun_path - 1 );
    if ( connect( fd_, reinterpret_cast<sockaddr *>( &name ), sizeof name ) != 0 ) {
        throw std::runtime_error( "no server at " + path );
    }
}

BareReplay::~BareReplay() {
    close( fd_ );
}

size_t BareReplay::roundTrip( const char *frame, size_t size ) {
    send( fd_, frame, size, MSG_NOSIGNAL );
    const ssize_t got = recv( fd_, answer_.data(), answer_.size(), 0 );
    if ( got < static_cast<ssize_t>( lengthSize ) ) {
        throw std::runtime_error( "no answer" );
    }
    return static_cast<size_t>( got );
}

void BareReplay::replay( const std::vector<std::string> &frames ) {
    for ( const std::string &frame : frames ) {
        roundTrip( frame.data(), frame.size() );
    }
}

void BareReplay::exchange( const std::vector<Smbus::TransactionRequest> &requests ) {
    for ( const Smbus::TransactionRequest &request : requests ) {
        const size_t size = request.ByteSizeLong();
        const uint32_t length = htonl( static_cast<uint32_t>( size ) );
        memcpy( outgoing_.data(), &length, lengthSize );
        request.SerializeWithCachedSizesToArray(
            reinterpret_cast<uint8_t *>( outgoing_.data() + lengthSize ) );
        const size_t got = roundTrip( outgoing_.data(), lengthSize + size );
        response_.ParseFromArray( answer_.data() + lengthSize,
                                  static_cast<int>( got - lengthSize ) );
    }
}
