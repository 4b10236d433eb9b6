#include "benchmarks/support/BoardServer.h"

#include <csignal>
#include <cstdlib>
#include <fstream>
#include <stdexcept>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

BoardServer::BoardServer( const std::string &document ) {
    char folder[] = "/tmp/kavra-bench-XXXXXX";
    int log[2];
    if ( !mkdtemp( folder ) || pipe( log ) != 0 ) {
        throw std::runtime_error( "no private folder" );
    }
    folder_ = folder;
    path_ = folder_ + "/smbusd.sock";
    const std::string board = folder_ + "/board.json";
    std::ofstream( board ) << document;
    child_ = fork();
    if ( child_ == 0 ) {
        prctl( PR_SET_PDEATHSIG, SIGKILL );
        dup2( log[1], STDERR_FILENO );
        execl( KAVRA_SMBUSD, KAVRA_SMBUSD, "--board", board.c_str(), "--socket", path_.c_str(),
               nullptr );
        _exit( 127 );
    }
    close( log[1] );
    // Its first line says that it listens; an end without one that it does not.
    char line[256];
    const bool listening =
        read( log[0], line, sizeof line ) > 0 && waitpid( child_, nullptr, WNOHANG ) == 0;
    close( log[0] );
    if ( !listening ) {
        throw std::runtime_error( "the server does not come up" );
    }
}

BoardServer::~BoardServer() {
    kill( child_, SIGTERM );
    waitpid( child_, nullptr, 0 );
    unlink( ( folder_ + "/board.json" ).c_str() );
    rmdir( folder_.c_str() );
}
