#include "tests/SmbusServer/Service.h"

#include "tests/support/Requests.h"

#include <cstdlib>
#include <fcntl.h>
#include <fstream>
#include <gtest/gtest.h>
#include <sstream>
#include <stdexcept>
#include <sys/socket.h>
#include <sys/un.h>

using namespace Requests;

namespace Service {

static Smbus::Request onInletBus( Smbus::Request request ) {
    request.set_mastertype( Smbus::SCD );
    request.set_pci( 768 );
    return request;
}

Smbus::TransactionRequest inletReads( int count, unsigned length ) {
    Smbus::TransactionRequest request;
    for ( int i = 0; i < count; ++i ) {
        *request.add_request() = onInletBus( readBytes( 0x48, 0, length ) );
    }
    return request;
}

Smbus::TransactionRequest nobodyRead() {
    return batch( { onInletBus( readBytes( 0x4f, 0, 2 ) ) } );
}

int listenAt( const std::string &path, int type ) {
    const int fd = socket( AF_UNIX, type | SOCK_CLOEXEC, 0 );
    sockaddr_un address = {};
    address.sun_family = AF_UNIX;
    path.copy( address.sun_path, sizeof address.sun_path - 1 );
    EXPECT_EQ( 0, bind( fd, reinterpret_cast<const sockaddr *>( &address ), sizeof address ) );
    if ( type == SOCK_STREAM ) {
        EXPECT_EQ( 0, listen( fd, SOMAXCONN ) );
    }
    const timeval limit = { 20, 0 };
    setsockopt( fd, SOL_SOCKET, SO_RCVTIMEO, &limit, sizeof limit );
    return fd;
}

bool closesOnExec( pid_t process, int fd ) {
    const std::string text =
        fileText( "/proc/" + std::to_string( process ) + "/fdinfo/" + std::to_string( fd ) );
    const size_t flags = text.find( "flags:" );
    EXPECT_NE( std::string::npos, flags ) << "no descriptor " << fd;
    return flags != std::string::npos &&
           ( std::stoul( text.substr( flags + 6 ), nullptr, 8 ) & O_CLOEXEC ) != 0;
}

std::string fileText( const std::string &path ) {
    std::stringstream text;
    text << std::ifstream( path ).rdbuf();
    return text.str();
}

Folder::Folder() {
    if ( mkdtemp( path_.data() ) == nullptr ) {
        throw std::runtime_error( "no private folder" );
    }
}

} // namespace Service
