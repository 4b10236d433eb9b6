#include "tests/support/FakeSmbusServer.h"

#include "tests/support/DescribeBatch.h"

#include <algorithm>
#include <arpa/inet.h>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <poll.h>
#include <sys/eventfd.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <system_error>
#include <unistd.h>
#include <utility>

namespace {

constexpr const char *environmentName = "SMBUSD_SOCKET";
constexpr std::size_t lengthSize = 4;

int checked( int result, const char *what ) {
    if ( result < 0 ) {
        throw std::system_error( errno, std::generic_category(), what );
    }
    return result;
}

std::string frameOf( const Smbus::TransactionResponse &response ) {
    const std::string body = response.SerializeAsString();
    const uint32_t length = htonl( static_cast<uint32_t>( body.size() ) );
    std::string frame( lengthSize, '\0' );
    std::memcpy( frame.data(), &length, lengthSize );
    return frame + body;
}

/// The size of the first frame in the bytes, or 0 while its length is not complete.
std::size_t frameSize( std::string_view bytes ) {
    if ( bytes.size() < lengthSize ) {
        return 0;
    }
    uint32_t length;
    std::memcpy( &length, bytes.data(), lengthSize );
    return lengthSize + ntohl( length );
}

void fillHealthy( const Smbus::Request &request, Smbus::Response *response ) {
    switch ( request.type() ) {
    case Smbus::READ:
        response->set_data( std::string( std::max( request.length(), 1U ), '\0' ) );
        break;
    case Smbus::PROCESS_CALL:
        response->set_data( std::string( 2, '\0' ) );
        break;
    case Smbus::BLOCK_READ:
        response->set_data( "" );
        break;
    case Smbus::WRITE:
    case Smbus::BLOCK_WRITE:
        if ( request.length() > 0 ) {
            response->set_data( request.data() );
        }
        break;
    }
}

Smbus::TransactionResponse responseTo( const Smbus::TransactionRequest &batch,
                                       const std::vector<FakeSmbusServer::Reply> &replies ) {
    Smbus::TransactionResponse answer;
    for ( const auto &reply : replies ) {
        const int place = answer.response_size();
        Smbus::Response *response = answer.add_response();
        if ( reply.data ) {
            response->set_data( *reply.data );
        } else if ( place < batch.request_size() ) {
            fillHealthy( batch.request( place ), response );
        }
    }
    return answer;
}

std::vector<FakeSmbusServer::Reply> allHealthy( std::size_t count ) {
    return { count, FakeSmbusServer::ok };
}

std::string healthyFrame( const Smbus::TransactionRequest &batch ) {
    const auto count = static_cast<std::size_t>( batch.request_size() );
    return frameOf( responseTo( batch, allHealthy( count ) ) );
}

} // namespace

struct FakeSmbusServer::Connection {
    explicit Connection( int descriptor ) : fd( descriptor ) {}
    Connection( Connection &&other ) noexcept
        : fd( std::exchange( other.fd, -1 ) ), bytes( std::move( other.bytes ) ) {}
    Connection &operator=( Connection &&other ) noexcept {
        std::swap( fd, other.fd );
        std::swap( bytes, other.bytes );
        return *this;
    }
    ~Connection() {
        if ( fd != -1 ) {
            ::close( fd );
        }
    }

    bool send( std::string_view data ) const {
        while ( !data.empty() ) {
            const ssize_t count = ::send( fd, data.data(), data.size(), MSG_NOSIGNAL );
            if ( count <= 0 ) {
                return false;
            }
            data.remove_prefix( static_cast<std::size_t>( count ) );
        }
        return true;
    }

    int fd;
    std::string bytes; // received and not used yet
};

FakeSmbusServer::FakeSmbusServer() {
    std::string name = std::filesystem::temp_directory_path() / "smbus.XXXXXX";
    if ( ::mkdtemp( name.data() ) == nullptr ) {
        throw std::system_error( errno, std::generic_category(), name );
    }
    folder_ = name;
    socket_ = folder_ / "smbusd.sock";
    if ( const char *before = std::getenv( environmentName ) ) {
        environmentBefore_ = before;
    }
    ::setenv( environmentName, socket_.c_str(), 1 );
    start();
}

FakeSmbusServer::~FakeSmbusServer() {
    stop();
    if ( environmentBefore_ ) {
        ::setenv( environmentName, environmentBefore_->c_str(), 1 );
    } else {
        ::unsetenv( environmentName );
    }
    std::error_code ignored;
    std::filesystem::remove_all( folder_, ignored );
}

void FakeSmbusServer::answer( std::vector<Reply> replies ) {
    queue( [replies = std::move( replies )]( Connection &connection, const auto &batch ) {
        return connection.send( frameOf( responseTo( batch, replies ) ) );
    } );
}

void FakeSmbusServer::answer( const Smbus::TransactionResponse &response ) {
    rawReply( frameOf( response ) );
}

void FakeSmbusServer::answerFailed( std::string_view text ) {
    Smbus::TransactionResponse response;
    response.set_failed( true );
    response.set_error( std::string( text ) );
    answer( response );
}

void FakeSmbusServer::answerFailedWithoutText() {
    Smbus::TransactionResponse response;
    response.set_failed( true );
    answer( response );
}

void FakeSmbusServer::answerCount( int count ) {
    answer( allHealthy( static_cast<std::size_t>( count ) ) );
}

void FakeSmbusServer::dropReply() {
    shortReply( 0 );
}

void FakeSmbusServer::stayQuiet() {
    rawReply( "" );
}

void FakeSmbusServer::shortReply( std::size_t count ) {
    queue( [count]( Connection &connection, const auto &batch ) {
        connection.send( healthyFrame( batch ).substr( 0, count ) );
        return false;
    } );
}

void FakeSmbusServer::rawReply( std::string_view bytes ) {
    queue( [data = std::string( bytes )]( Connection &connection, const auto & ) {
        return connection.send( data );
    } );
}

void FakeSmbusServer::trickleReply( std::chrono::milliseconds pause ) {
    queue( [this, pause]( Connection &connection, const auto &batch ) {
        for ( const char byte : healthyFrame( batch ) ) {
            if ( !connection.send( { &byte, 1 } ) || stoppedWithin( pause ) ) {
                return false;
            }
        }
        return true;
    } );
}

void FakeSmbusServer::killServer() {
    stop();
}

void FakeSmbusServer::restartServer() {
    stop();
    start();
}

std::vector<std::string> FakeSmbusServer::batches() const {
    std::vector<std::string> lines;
    for ( const auto &request : requests() ) {
        lines.push_back( describe( request ) );
    }
    return lines;
}

std::string FakeSmbusServer::lastBatch() const {
    return describe( lastRequest() );
}

std::vector<Smbus::TransactionRequest> FakeSmbusServer::requests() const {
    const std::lock_guard lock( mutex_ );
    return requests_;
}

Smbus::TransactionRequest FakeSmbusServer::lastRequest() const {
    const std::lock_guard lock( mutex_ );
    return requests_.empty() ? Smbus::TransactionRequest() : requests_.back();
}

std::string FakeSmbusServer::lastFrame() const {
    const std::lock_guard lock( mutex_ );
    return lastFrame_;
}

int FakeSmbusServer::connectionCount() const {
    const std::lock_guard lock( mutex_ );
    return connectionCount_;
}

bool FakeSmbusServer::waitForBatches( std::size_t count ) const {
    std::unique_lock lock( mutex_ );
    return received_.wait_for( lock, std::chrono::seconds( 10 ),
                               [&] { return requests_.size() >= count; } );
}

void FakeSmbusServer::forget() {
    const std::lock_guard lock( mutex_ );
    reactions_.clear();
    requests_.clear();
    lastFrame_.clear();
}

void FakeSmbusServer::queue( Reaction reaction ) {
    const std::lock_guard lock( mutex_ );
    reactions_.push_back( std::move( reaction ) );
}

void FakeSmbusServer::start() {
    sockaddr_un address = {};
    address.sun_family = AF_UNIX;
    if ( socket_.native().size() >= sizeof( address.sun_path ) ) {
        throw std::system_error( ENAMETOOLONG, std::generic_category(), socket_ );
    }
    socket_.native().copy( address.sun_path, sizeof( address.sun_path ) - 1 );

    std::filesystem::remove( socket_ );
    listener_ = checked( ::socket( AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0 ), "socket" );
    checked( ::bind( listener_, reinterpret_cast<const sockaddr *>( &address ), sizeof address ),
             "bind" );
    checked( ::listen( listener_, 8 ), "listen" );
    wake_ = checked( ::eventfd( 0, EFD_CLOEXEC ), "eventfd" );
    thread_ = std::thread( [this] { serve(); } );
}

void FakeSmbusServer::stop() {
    if ( !thread_.joinable() ) {
        return;
    }
    ::eventfd_write( wake_, 1 );
    thread_.join();
    ::close( std::exchange( listener_, -1 ) );
    ::close( std::exchange( wake_, -1 ) );
}

void FakeSmbusServer::serve() {
    std::vector<Connection> connections;
    for ( ;; ) {
        std::vector<pollfd> waited{ { wake_, POLLIN, 0 }, { listener_, POLLIN, 0 } };
        for ( const Connection &connection : connections ) {
            waited.push_back( { connection.fd, POLLIN, 0 } );
        }
        if ( ::poll( waited.data(), waited.size(), -1 ) < 0 ) {
            continue;
        }
        if ( waited[0].revents != 0 ) {
            return;
        }
        std::erase_if( connections, [&]( Connection &connection ) {
            const auto at = std::ranges::find( waited, connection.fd, &pollfd::fd );
            return at->revents != 0 && !receive( connection );
        } );
        if ( waited[1].revents != 0 ) {
            const int fd = ::accept4( listener_, nullptr, nullptr, SOCK_CLOEXEC );
            if ( fd == -1 ) {
                continue;
            }
            connections.emplace_back( fd );
            const std::lock_guard lock( mutex_ );
            ++connectionCount_;
        }
    }
}

bool FakeSmbusServer::receive( Connection &connection ) {
    char piece[65536];
    const ssize_t count = ::recv( connection.fd, piece, sizeof piece, 0 );
    if ( count <= 0 ) {
        return false;
    }
    connection.bytes.append( piece, static_cast<std::size_t>( count ) );
    for ( ;; ) {
        const std::size_t size = frameSize( connection.bytes );
        if ( size == 0 || connection.bytes.size() < size ) {
            return true;
        }
        const std::string frame = connection.bytes.substr( 0, size );
        connection.bytes.erase( 0, size );
        if ( !react( connection, frame ) ) {
            return false;
        }
    }
}

bool FakeSmbusServer::react( Connection &connection, std::string_view frame ) {
    Smbus::TransactionRequest request;
    const std::string_view body = frame.substr( lengthSize );
    if ( !request.ParseFromArray( body.data(), static_cast<int>( body.size() ) ) ) {
        return false;
    }

    Reaction reaction = []( Connection &to, const auto &batch ) {
        return to.send( healthyFrame( batch ) );
    };
    {
        const std::lock_guard lock( mutex_ );
        requests_.push_back( request );
        lastFrame_ = frame;
        if ( !reactions_.empty() ) {
            reaction = std::move( reactions_.front() );
            reactions_.pop_front();
        }
    }
    received_.notify_all();
    return reaction( connection, request );
}

bool FakeSmbusServer::stoppedWithin( std::chrono::milliseconds time ) const {
    pollfd waited{ wake_, POLLIN, 0 };
    return ::poll( &waited, 1, static_cast<int>( time.count() ) ) > 0;
}
