#include "fuzz/FakeWire.h"

#include "fuzz/Contract.h"
#include "KavraGeneric/Library.h"

#include <algorithm>
#include <arpa/inet.h>
#include <cerrno>
#include <chrono>
#include <cstdlib>
#include <cstring>
#include <string_view>
#include <sys/socket.h>
#include <sys/syscall.h>
#include <sys/un.h>
#include <unistd.h>
#include <utility>

namespace {

constexpr std::string_view wirePath = "/fuzz/wire";
constexpr size_t lengthSize = 4;

Fuzz::FakeWire::Server server;
int wire = -1; // the library's descriptor
std::string answer;
bool hungUp = false;

} // namespace

// The program's own functions stand in front of the system's, for all that is linked to it.

extern "C" int connect( int fd, const sockaddr *address, socklen_t size ) {
    const auto *local = reinterpret_cast<const sockaddr_un *>( address );
    if ( server && address->sa_family == AF_UNIX && local->sun_path == wirePath ) {
        wire = fd;
        answer.clear();
        hungUp = false;
        return 0;
    }
    return static_cast<int>( syscall( SYS_connect, fd, address, size ) );
}

extern "C" ssize_t send( int fd, const void *data, size_t size, int flags ) {
    if ( !server || fd != wire ) {
        return syscall( SYS_sendto, fd, data, size, flags, nullptr, 0 );
    }
    Smbus::TransactionRequest batch;
    Fuzz::require( size >= lengthSize &&
                       batch.ParseFromArray( static_cast<const char *>( data ) + lengthSize,
                                             static_cast<int>( size - lengthSize ) ),
                   "the library sends a whole batch at once" );
    answer = server( batch );
    hungUp = answer.empty();
    return static_cast<ssize_t>( size );
}

extern "C" ssize_t recv( int fd, void *data, size_t size, int flags ) {
    if ( !server || fd != wire ) {
        return syscall( SYS_recvfrom, fd, data, size, flags, nullptr, nullptr );
    }
    if ( answer.empty() && !hungUp ) {
        errno = EAGAIN; // the time limit is over
        return -1;
    }
    const size_t count = std::min( size, answer.size() );
    memcpy( data, answer.data(), count );
    answer.erase( 0, count );
    return static_cast<ssize_t>( count );
}

// What the drivers wait for on a bus takes no time here.
extern "C" int usleep( useconds_t ) {
    return 0;
}

namespace Fuzz {

FakeWire::FakeWire( Server answers ) {
    server = std::move( answers );
    setenv( "SMBUSD_SOCKET", wirePath.data(), 1 );
    static PlatformLibrary::PLSocket socket; // its buffer is large, and kept
    socket.reconnectLimit = std::chrono::milliseconds( 0 );
    _plSock = &socket;
    require( _plSock->setup() == 0, "the wire connects" );
}

FakeWire::~FakeWire() {
    _plSock = nullptr;
    server = nullptr;
    wire = -1;
}

std::string frameOf( std::string_view payload ) {
    const uint32_t length = htonl( static_cast<uint32_t>( payload.size() ) );
    std::string frame( lengthSize, '\0' );
    memcpy( frame.data(), &length, lengthSize );
    return frame.append( payload );
}

std::string frameOf( const Smbus::TransactionResponse &response ) {
    return frameOf( response.SerializeAsString() );
}

Smbus::TransactionResponse
healthyAnswer( const Smbus::TransactionRequest &batch,
               const std::function<std::string( const Smbus::Request & )> &read ) {
    Smbus::TransactionResponse response;
    for ( const Smbus::Request &each : batch.request() ) {
        const bool writes = each.type() == Smbus::WRITE || each.type() == Smbus::BLOCK_WRITE;
        Smbus::Response *entry = response.add_response();
        entry->set_data( writes ? each.data() : read( each ) );
    }
    return response;
}

} // namespace Fuzz
