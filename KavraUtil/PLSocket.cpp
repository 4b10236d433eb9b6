#include "KavraUtil/PLSocket.h"

#include "KavraUtil/Smbus.pb.h"

#include <algorithm>
#include <arpa/inet.h>
#include <cerrno>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <memory>
#include <string_view>
#include <sys/socket.h>
#include <sys/un.h>
#include <thread>
#include <unistd.h>
#include <utility>

namespace PlatformLibrary {

namespace {

using Clock = std::chrono::steady_clock;
using std::chrono::milliseconds;

constexpr std::size_t lengthSize = 4;
constexpr std::size_t largestBody = 1'048'576;
// More than the queue of a Unix socket holds by default, so one recv takes all that has arrived.
constexpr std::size_t usualBuffer = 262'144;
constexpr milliseconds pauseBetweenAttempts{ 50 };
// What sending fails with before the server took a byte: the batch may go to another connection.
constexpr int nothingTaken = EPIPE;

std::string_view socketPath() {
    const char *path = std::getenv( "SMBUSD_SOCKET" );
    return path != nullptr && *path != '\0' ? path : "/run/smbusd.sock";
}

std::size_t bodySize( const std::string &frame ) {
    uint32_t length;
    std::memcpy( &length, frame.data(), lengthSize );
    return ntohl( length );
}

int failure( int error ) {
    errno = error;
    return -error;
}

int sendAll( int fd, std::string_view frame ) {
    const std::size_t size = frame.size();
    while ( !frame.empty() ) {
        const ssize_t taken = ::send( fd, frame.data(), frame.size(), MSG_NOSIGNAL );
        if ( taken >= 0 ) {
            frame.remove_prefix( static_cast<std::size_t>( taken ) );
        } else if ( errno == EPIPE || errno == ECONNRESET ) {
            return frame.size() == size ? nothingTaken : ECONNRESET;
        } else if ( errno != EINTR ) {
            return errno == EAGAIN ? ETIMEDOUT : errno;
        }
    }
    return 0;
}

} // namespace

PLSocket::~PLSocket() {
    disconnect();
}

int PLSocket::setup() {
    disconnect();

    sockaddr_un server = {};
    server.sun_family = AF_UNIX;
    const std::string_view path = socketPath();
    if ( path.size() >= sizeof( server.sun_path ) ) {
        return failure( ENAMETOOLONG );
    }
    path.copy( server.sun_path, path.size() );

    // Not blocking while it connects: a server whose queue of callers is full would hold us up.
    fd = ::socket( AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0 );
    if ( fd == -1 ) {
        return failure( errno );
    }
    if ( ::connect( fd, reinterpret_cast<const sockaddr *>( &server ), sizeof server ) != 0 ||
         ::fcntl( fd, F_SETFL, 0 ) != 0 ) {
        const int error = errno;
        disconnect();
        return failure( error );
    }
    waitLimit_ = milliseconds( 0 );
    waitLimitIs( answerLimit );
    return 0;
}

int PLSocket::sendRequestWait( Smbus::TransactionRequest *request,
                               Smbus::TransactionResponse **response ) {
    *response = nullptr;
    const std::size_t size = request->ByteSizeLong();
    if ( size > largestBody ) {
        return failure( EMSGSIZE );
    }

    buffer_.resize( std::max( { buffer_.size(), usualBuffer, lengthSize + size } ) );
    const uint32_t length = htonl( static_cast<uint32_t>( size ) );
    std::memcpy( buffer_.data(), &length, lengthSize );
    request->SerializeWithCachedSizesToArray(
        reinterpret_cast<uint8_t *>( buffer_.data() + lengthSize ) );

    // Room for one entry a request: a full list loses an entry when there is no memory for more.
    auto answer = std::make_unique<Smbus::TransactionResponse>();
    answer->mutable_response()->Reserve( request->request_size() );
    Smbus::TransactionResponse *parsed = answer.get();
    int error = 0;
    try {
        error = sendFrame( lengthSize + size );
        if ( error == 0 ) {
            error = receiveAnswer( &parsed );
        }
    } catch ( ... ) { // half an answer must not be taken for the beginning of the next
        disconnect();
        throw;
    }
    if ( error == 0 ) {
        *response = answer.release();
        return 0;
    }
    disconnect();
    return failure( error );
}

void PLSocket::disconnect() {
    if ( fd != -1 ) {
        ::close( std::exchange( fd, -1 ) );
    }
}

void PLSocket::waitLimitIs( milliseconds limit ) {
    limit = std::max( limit, milliseconds( 1 ) ); // a socket takes 0 for no limit
    if ( limit == waitLimit_ ) {
        return;
    }
    waitLimit_ = limit;
    const timeval time{ .tv_sec = limit.count() / 1000, .tv_usec = limit.count() % 1000 * 1000 };
    ::setsockopt( fd, SOL_SOCKET, SO_RCVTIMEO, &time, sizeof time );
    ::setsockopt( fd, SOL_SOCKET, SO_SNDTIMEO, &time, sizeof time );
}

int PLSocket::sendFrame( std::size_t size ) {
    const std::string_view frame( buffer_.data(), size );
    int error = nothingTaken;
    if ( fd != -1 ) {
        waitLimitIs( answerLimit );
        error = sendAll( fd, frame );
    }
    if ( error != nothingTaken ) {
        return error;
    }

    for ( const auto giveUp = Clock::now() + reconnectLimit;; ) {
        const int status = setup();
        error = status == 0 ? sendAll( fd, frame ) : -status;
        const bool mayTryAgain = status != 0 || error == nothingTaken;
        if ( !mayTryAgain || Clock::now() >= giveUp ) {
            return error;
        }
        std::this_thread::sleep_for( pauseBetweenAttempts );
    }
}

int PLSocket::receiveAnswer( Smbus::TransactionResponse **response ) {
    std::size_t size = 0;
    if ( const int error = receiveFrame( size ) ) {
        return error;
    }
    if ( !( *response )
              ->ParseFromArray( buffer_.data() + lengthSize,
                                static_cast<int>( size - lengthSize ) ) ) {
        return EPROTO;
    }
    return 0;
}

int PLSocket::receiveFrame( std::size_t &size ) {
    const auto deadline = Clock::now() + answerLimit;
    std::size_t received = 0;
    for ( ;; ) {
        const ssize_t count = ::recv( fd, buffer_.data() + received, buffer_.size() - received, 0 );
        if ( count == 0 ) {
            return ECONNRESET;
        }
        if ( count < 0 && errno != EINTR ) {
            return errno == EAGAIN ? ETIMEDOUT : errno;
        }
        received += static_cast<std::size_t>( std::max( count, ssize_t{ 0 } ) );

        if ( received >= lengthSize ) {
            size = lengthSize + bodySize( buffer_ );
            // One byte too many was sent without being asked for: nothing behind it can be trusted.
            if ( size > lengthSize + largestBody || received > size ) {
                return EPROTO;
            }
            if ( received == size ) {
                return 0;
            }
            buffer_.resize( std::max( buffer_.size(), size + 1 ) );
        }

        const auto left = std::chrono::ceil<milliseconds>( deadline - Clock::now() );
        if ( left <= milliseconds( 0 ) ) {
            return ETIMEDOUT;
        }
        waitLimitIs( left );
    }
}

} // namespace PlatformLibrary
