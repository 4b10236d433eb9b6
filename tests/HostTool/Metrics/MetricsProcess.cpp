#include "tests/HostTool/Metrics/MetricsProcess.h"

#include <arpa/inet.h>
#include <netinet/in.h>
#include <poll.h>
#include <sys/prctl.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <fcntl.h>
#include <stdexcept>

namespace {

constexpr int longestWait = 20'000; // milliseconds

bool becomesReadable( int fd ) {
    pollfd each = { fd, POLLIN, 0 };
    return poll( &each, 1, longestWait ) == 1;
}

std::vector<char *> pointers( const std::vector<std::string> &texts ) {
    std::vector<char *> all;
    for ( const std::string &each : texts ) {
        all.push_back( const_cast<char *>( each.c_str() ) );
    }
    all.push_back( nullptr );
    return all;
}

int connectedTo( int family, const sockaddr *address, socklen_t length ) {
    const int fd = socket( family, SOCK_STREAM | SOCK_CLOEXEC, 0 );
    if ( connect( fd, address, length ) != 0 ) {
        close( fd );
        throw std::runtime_error( "nobody listens" );
    }
    return fd;
}

} // namespace

MetricsProcess::MetricsProcess( const std::vector<std::string> &arguments,
                                const std::vector<std::string> &environment ) {
    std::vector<std::string> command = { "/usr/bin/env" };
    command.insert( command.end(), environment.begin(), environment.end() );
    command.emplace_back( BINARY_DIR "/bin/kavractl" );
    command.insert( command.end(), arguments.begin(), arguments.end() );
    const std::vector<char *> words = pointers( command );
    std::array<int, 2> err;
    if ( pipe2( err.data(), O_CLOEXEC ) != 0 ) {
        throw std::runtime_error( "no pipe" );
    }
    pid_ = fork();
    if ( pid_ == 0 ) {
        prctl( PR_SET_PDEATHSIG, SIGKILL );
        if ( dup2( err[1], STDERR_FILENO ) >= 0 ) {
            execv( words[0], words.data() );
        }
        _exit( 127 );
    }
    close( err[1] );
    err_ = err[0];
}

MetricsProcess::~MetricsProcess() {
    if ( pid_ > 0 ) {
        kill( pid_, SIGKILL );
        wait();
    }
    close( err_ );
}

bool MetricsProcess::readMore() {
    std::array<char, 4096> buffer;
    const ssize_t count =
        becomesReadable( err_ ) ? read( err_, buffer.data(), buffer.size() ) : ssize_t{ 0 };
    if ( count > 0 ) {
        log_.append( buffer.data(), static_cast<size_t>( count ) );
    }
    return count > 0;
}

bool MetricsProcess::waitFor( const std::string &text ) {
    size_t at = log_.find( text, seen_ );
    while ( at == std::string::npos && readMore() ) {
        at = log_.find( text, seen_ );
    }
    if ( at == std::string::npos ) {
        return false;
    }
    seen_ = at + text.size();
    return true;
}

int MetricsProcess::connect() {
    const std::string before = "kavractl: listening on ";
    size_t at = log_.find( before );
    while ( at == std::string::npos || log_.find( '\n', at ) == std::string::npos ) {
        if ( !readMore() ) {
            throw std::runtime_error( "it does not listen: " + log_ );
        }
        at = log_.find( before );
    }
    at += before.size();
    const std::string where = log_.substr( at, log_.find( '\n', at ) - at );
    if ( where.starts_with( "unix:" ) ) {
        sockaddr_un address = {};
        address.sun_family = AF_UNIX;
        where.substr( 5 ).copy( address.sun_path, sizeof( address.sun_path ) - 1 );
        return connectedTo( AF_UNIX, reinterpret_cast<const sockaddr *>( &address ),
                            sizeof( address ) );
    }
    sockaddr_in address = {};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl( INADDR_LOOPBACK );
    address.sin_port =
        htons( static_cast<uint16_t>( atoi( where.c_str() + where.rfind( ':' ) + 1 ) ) );
    return connectedTo( AF_INET, reinterpret_cast<const sockaddr *>( &address ),
                        sizeof( address ) );
}

std::string MetricsProcess::ask( const std::string &request ) {
    const int fd = connect();
    if ( send( fd, request.data(), request.size(), MSG_NOSIGNAL ) < 0 ) {
        close( fd );
        throw std::runtime_error( "it takes no request" );
    }
    const std::string answer = readAll( fd );
    close( fd );
    return answer;
}

int MetricsProcess::terminate() {
    kill( pid_, SIGTERM );
    return wait();
}

int MetricsProcess::wait() {
    while ( readMore() ) {
    }
    int status = 0;
    waitpid( pid_, &status, 0 );
    pid_ = -1;
    return WIFSIGNALED( status ) ? -WTERMSIG( status ) : WEXITSTATUS( status );
}

std::string readAll( int fd ) {
    std::string all;
    while ( becomesReadable( fd ) ) {
        std::array<char, 4096> buffer;
        const ssize_t count = read( fd, buffer.data(), buffer.size() );
        if ( count <= 0 ) {
            break;
        }
        all.append( buffer.data(), static_cast<size_t>( count ) );
    }
    return all;
}
