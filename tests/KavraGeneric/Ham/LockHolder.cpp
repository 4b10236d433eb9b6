#include "tests/KavraGeneric/Ham/LockHolder.h"

#include <chrono>
#include <cstdlib>
#include <fstream>
#include <poll.h>
#include <sched.h>
#include <stdexcept>
#include <sys/wait.h>
#include <unistd.h>

namespace {

constexpr int limitMs = 10'000;

bool lockWhole( int fd, short type ) {
    struct flock whole {};
    whole.l_type = type;
    whole.l_whence = SEEK_SET;
    return fcntl( fd, F_SETLK, &whole ) == 0;
}

// A waiter's line: "1: -> POSIX  ADVISORY  READ 4711 fe:00:1234 0 EOF".
bool waits( pid_t process, const std::string &kind ) {
    const std::string wanted = kind + ' ' + std::to_string( process ) + ' ';
    std::ifstream locks( "/proc/locks" );
    for ( std::string line; std::getline( locks, line ); ) {
        if ( line.find( "-> POSIX" ) != std::string::npos &&
             line.find( wanted ) != std::string::npos && line.ends_with( " 0 EOF" ) ) {
            return true;
        }
    }
    return false;
}

bool waitUntilWaits( pid_t process, const std::string &kind ) {
    const auto end = std::chrono::steady_clock::now() + std::chrono::milliseconds( limitMs );
    while ( std::chrono::steady_clock::now() < end ) {
        if ( waits( process, kind ) ) {
            return true;
        }
        sched_yield();
    }
    return false;
}

// The order is empty, or a kind, a line end and the text.
bool obey( const std::string &path, const std::string &order ) {
    const size_t lineEnd = order.find( '\n' );
    if ( lineEnd == std::string::npos ) {
        return true;
    }
    if ( !waitUntilWaits( getppid(), order.substr( 0, lineEnd ) ) ) {
        return false;
    }
    // Not closed: closing any descriptor of the file would let the lock go early.
    const std::string text = order.substr( lineEnd + 1 );
    const int fd = open( path.c_str(), O_WRONLY | O_TRUNC | O_CLOEXEC );
    return write( fd, text.data(), text.size() ) == static_cast<ssize_t>( text.size() );
}

// Up to the end of the pipe.
std::string readOrder( int fd ) {
    std::string order;
    char byte = 0;
    struct pollfd readable {
        fd, POLLIN, 0
    };
    while ( poll( &readable, 1, limitMs ) == 1 ) {
        if ( read( fd, &byte, 1 ) != 1 ) {
            return order;
        }
        order += byte;
    }
    return "nothing within the limit\n";
}

bool succeeded( pid_t process ) {
    int status = 0;
    waitpid( process, &status, 0 );
    return WIFEXITED( status ) && WEXITSTATUS( status ) == 0;
}

} // namespace

LockHolder::LockHolder( std::string path, short type ) : path_( std::move( path ) ) {
    int order[2];
    int ready[2];
    if ( pipe2( order, O_CLOEXEC ) != 0 || pipe2( ready, O_CLOEXEC ) != 0 ) {
        throw std::runtime_error( "no pipe" );
    }
    process_ = fork();
    if ( process_ == 0 ) {
        close( order[1] );
        const int fd = open( path_.c_str(), O_RDWR | O_CLOEXEC );
        if ( !lockWhole( fd, type ) || write( ready[1], "", 1 ) != 1 ) {
            _exit( 1 );
        }
        _exit( obey( path_, readOrder( order[0] ) ) ? 0 : 1 );
    }
    close( order[0] );
    close( ready[1] );
    order_ = order[1];
    char byte = 0;
    const bool isReady = read( ready[0], &byte, 1 ) == 1;
    close( ready[0] );
    if ( !isReady ) {
        throw std::runtime_error( "the file cannot be locked" );
    }
}

LockHolder::~LockHolder() {
    if ( process_ > 0 ) {
        release();
    }
}

void LockHolder::changeOnceWaitedFor( const std::string &kind, const std::string &newText ) {
    const std::string order = kind + '\n' + newText;
    if ( write( order_, order.data(), order.size() ) != static_cast<ssize_t>( order.size() ) ) {
        throw std::runtime_error( "the other process is gone" );
    }
    close( order_ );
    order_ = -1;
}

bool LockHolder::release() {
    if ( order_ != -1 ) {
        close( order_ );
        order_ = -1;
    }
    const pid_t process = process_;
    process_ = -1;
    return succeeded( process );
}

bool LockHolder::isFree( const std::string &path ) {
    const pid_t child = fork();
    if ( child == 0 ) {
        const int fd = open( path.c_str(), O_RDWR | O_CLOEXEC );
        _exit( lockWhole( fd, F_WRLCK ) ? 0 : 1 );
    }
    return succeeded( child );
}
