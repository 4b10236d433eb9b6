#include "tests/HostTool/BoardFolder.h"

#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <stdexcept>

BoardFolder::BoardFolder()
    : path_( std::filesystem::temp_directory_path() / "kavra-board-XXXXXX" ) {
    if ( !mkdtemp( path_.data() ) ) {
        throw std::runtime_error( "no temporary folder" );
    }
    topology( "[]" );
}

BoardFolder::~BoardFolder() {
    std::filesystem::remove_all( path_ );
}

void BoardFolder::write( const std::string &name, const std::string &text ) const {
    std::ofstream( file( name ), std::ios::binary ) << text;
}

ListeningSocket::ListeningSocket( const std::string &path )
    : fd_( socket( AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0 ) ) {
    sockaddr_un address = {};
    address.sun_family = AF_UNIX;
    path.copy( address.sun_path, sizeof( address.sun_path ) - 1 );
    constexpr int backlog = 8;
    if ( bind( fd_, reinterpret_cast<const sockaddr *>( &address ), sizeof( address ) ) != 0 ||
         listen( fd_, backlog ) != 0 ) {
        throw std::runtime_error( "cannot listen on " + path );
    }
}

ListeningSocket::~ListeningSocket() {
    die();
}

void ListeningSocket::die() {
    if ( fd_ >= 0 ) {
        close( fd_ );
        fd_ = -1;
    }
}
