#include "tests/support/BoardProcess.h"

#include "EmulatedBoard/Document.h"
#include "SmbusServer/EmulatedBackend.h"

#include <algorithm>
#include <array>
#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <optional>
#include <poll.h>
#include <stdexcept>
#include <sys/prctl.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <sys/wait.h>
#include <unistd.h>
#include <utility>
#include <vector>

using namespace SmbusServer;

// A message is a letter and what belongs to it; each is answered with one.
enum Message : char { Perform = 'p', Get = 'g', Set = 's', Hang = 'h', Wait = 'w', Release = 'r' };

static constexpr size_t longestMessage = 64 * 1024;

// recv() and send() belong to tests that put their own in the place of those.
static std::optional<std::string> receive( int fd ) {
    std::string message( longestMessage, '\0' );
    const ssize_t count = recvfrom( fd, message.data(), message.size(), 0, nullptr, nullptr );
    if ( count <= 0 ) {
        return std::nullopt;
    }
    message.resize( static_cast<size_t>( count ) );
    return message;
}

static void send( int fd, const std::string &message ) {
    sendto( fd, message.data(), message.size(), MSG_NOSIGNAL, nullptr, 0 );
}

static sockaddr_un addressOf( std::string_view path ) {
    sockaddr_un address = {};
    address.sun_family = AF_UNIX;
    path.copy( address.sun_path, sizeof address.sun_path - 1 );
    return address;
}

namespace {

/// What runs in the board's process.
class BoardLoop {
  public:
    BoardLoop( int listener, const std::string &document )
        : polled_{ { listener, POLLIN, 0 } },
          board_( EmulatedBoard::parseBoard( document, "board" ) ) {}

    [[noreturn]] void run() {
        while ( true ) {
            poll( polled_.data(), polled_.size(), -1 );
            if ( polled_[0].revents != 0 ) {
                polled_.push_back( { accept( polled_[0].fd, nullptr, nullptr ), POLLIN, 0 } );
            }
            for ( size_t i = polled_.size(); --i > 0; ) {
                if ( polled_[i].revents != 0 ) {
                    serve( i );
                }
            }
        }
    }

  private:
    struct Held {
        int fd;
        std::string request;
    };

    void serve( size_t index ) {
        const int fd = polled_[index].fd;
        const auto message = receive( fd );
        if ( !message ) {
            close( fd );
            polled_.erase( polled_.begin() + static_cast<ptrdiff_t>( index ) );
            std::erase_if( held_, [fd]( const Held &each ) { return each.fd == fd; } );
            return;
        }
        answer( fd, message->front(), message->substr( 1 ) );
    }

    void answer( int fd, char letter, const std::string &text ) {
        switch ( letter ) {
        case Perform:
            receiveOperation( fd, text );
            return;
        case Get:
            send( fd, get( text ) );
            return;
        case Set:
            set( text );
            break;
        case Hang:
            hanging_ = static_cast<uint8_t>( text[0] );
            break;
        case Wait:
            waiter_ = fd;
            tellWaiter();
            return;
        default:
            release();
            break;
        }
        send( fd, "ok" );
    }

    void receiveOperation( int fd, const std::string &text ) {
        Smbus::Request request;
        request.ParseFromString( text );
        if ( hanging_ == decode( request ).chip ) {
            held_.push_back( { fd, text } );
            tellWaiter();
        } else {
            perform( fd, request );
        }
    }

    void perform( int fd, const Smbus::Request &request ) {
        std::string read;
        const Cause cause = backend_.perform( decode( request ), read );
        send( fd, static_cast<char>( cause ) + read );
    }

    void tellWaiter() {
        if ( waiter_ >= 0 && !held_.empty() ) {
            send( waiter_, "ok" );
            waiter_ = -1;
        }
    }

    void release() {
        hanging_.reset();
        for ( const Held &each : std::exchange( held_, {} ) ) {
            Smbus::Request request;
            request.ParseFromString( each.request );
            perform( each.fd, request );
        }
    }

    std::string get( const std::string &knob ) {
        std::string value;
        std::string error;
        return board_.get( knob, value, error ) ? value : "error: " + error;
    }
    void set( const std::string &text ) {
        std::string error;
        const size_t blank = text.find( ' ' );
        board_.set( text.substr( 0, blank ), text.substr( blank + 1 ), error );
    }

    std::vector<pollfd> polled_; // the listener first
    EmulatedBoard::Board board_;
    EmulatedBackend backend_{ board_ };
    std::optional<uint8_t> hanging_;
    std::vector<Held> held_;
    int waiter_ = -1;
};

int listenAt( const std::string &path ) {
    const int fd = socket( AF_UNIX, SOCK_SEQPACKET | SOCK_CLOEXEC, 0 );
    const sockaddr_un address = addressOf( path );
    if ( bind( fd, reinterpret_cast<const sockaddr *>( &address ), sizeof address ) != 0 ||
         listen( fd, SOMAXCONN ) != 0 ) {
        throw std::runtime_error( "no socket at " + path );
    }
    return fd;
}

} // namespace

BoardProcess::BoardProcess( const std::string &document ) {
    std::string folder = std::filesystem::temp_directory_path() / "board-XXXXXX";
    if ( mkdtemp( folder.data() ) == nullptr ) {
        throw std::runtime_error( "no folder for a board" );
    }
    folder_ = folder;
    path_ = folder_ + "/board";
    const int listener = listenAt( path_ );
    pid_ = fork();
    if ( pid_ == 0 ) {
        prctl( PR_SET_PDEATHSIG, SIGKILL );
        BoardLoop( listener, document ).run();
    }
    close( listener );
    fd_ = RemoteBoard::connectTo( path_, SOCK_CLOEXEC );
}

BoardProcess::~BoardProcess() {
    close( fd_ );
    kill( pid_, SIGKILL );
    waitpid( pid_, nullptr, 0 );
    std::filesystem::remove_all( folder_ );
}

std::string BoardProcess::ask( const std::string &message ) {
    send( fd_, message );
    return receive( fd_ ).value_or( "error: no answer" );
}

std::string BoardProcess::get( const std::string &knob ) {
    return ask( static_cast<char>( Get ) + knob );
}

void BoardProcess::set( const std::string &knob, const std::string &value ) {
    ask( static_cast<char>( Set ) + knob + " " + value );
}

void BoardProcess::hang( uint8_t chip ) {
    ask( { static_cast<char>( Hang ), static_cast<char>( chip ) } );
}

void BoardProcess::waitForHang() {
    ask( { static_cast<char>( Wait ) } );
}

void BoardProcess::release() {
    ask( { static_cast<char>( Release ) } );
}

int RemoteBoard::connectTo( std::string_view path, int flags ) {
    const int fd = socket( AF_UNIX, SOCK_SEQPACKET | flags, 0 );
    const timeval limit = { 20, 0 };
    setsockopt( fd, SOL_SOCKET, SO_RCVTIMEO, &limit, sizeof limit );
    const sockaddr_un address = addressOf( path );
    if ( connect( fd, reinterpret_cast<const sockaddr *>( &address ), sizeof address ) != 0 ) {
        close( fd );
        return -1;
    }
    return fd;
}

RemoteBoard::RemoteBoard( const std::string &path ) : fd_( connectTo( path, SOCK_CLOEXEC ) ) {
    if ( fd_ < 0 ) {
        throw std::runtime_error( "no board at " + path );
    }
}

RemoteBoard::~RemoteBoard() {
    close( fd_ );
}

Cause RemoteBoard::perform( const Operation &operation, std::string &read ) {
    return performOn( fd_, operation, read );
}

Cause RemoteBoard::performOn( int fd, const Operation &operation, std::string &read ) {
    send( fd, static_cast<char>( Perform ) + encode( operation ).SerializeAsString() );
    const auto answer = receive( fd );
    if ( !answer ) {
        return Cause::NoController;
    }
    if ( operation.isRead() || operation.type == Smbus::PROCESS_CALL ) {
        read = answer->substr( 1 );
    }
    return static_cast<Cause>( answer->front() );
}
