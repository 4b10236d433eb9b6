#undef _FORTIFY_SOURCE

#include "tests/faults/BoardServer.h"

#include "EmulatedBoard/Document.h"
#include "SmbusServer/Frame.h"
#include "tests/faults/Faults.h"

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <stdexcept>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

using Faults::Kind;
using Faults::Unwatched;
using SmbusServer::Cause;

namespace {

BoardServer *theServer = nullptr;

// A request is a few hundred bytes; what is asked for here never takes two pieces.
constexpr size_t frameRoom = 65'536;

constexpr Cause causes[] = { Cause::NoAcknowledge, Cause::TimedOut };

} // namespace

std::string BoardServer::Refusing::begins( const Smbus::TransactionRequest &request ) {
    index_ = -1;
    return below_.begins( request );
}

Cause BoardServer::Refusing::perform( const SmbusServer::Operation &operation, std::string &read ) {
    if ( operation.batch == nullptr ) { // the server's own, between batches
        refused_ = Faults::everythingFails( Kind::busRequest );
        index_ = -1;
    } else if ( operation.index != index_ ) {
        refused_ = Faults::fails( Kind::busRequest );
        index_ = operation.index;
    }
    if ( !refused_ ) {
        return below_.perform( operation, read );
    }
    refusedDeselect |= operation.isDeselect() &&
                       std::find( muxes.begin(), muxes.end(), operation.chip ) != muxes.end();
    return causes[Faults::variant() % std::size( causes )];
}

bool BoardServer::Refusing::severalAccelerators( const SmbusServer::BusName &bus ) const {
    return below_.severalAccelerators( bus );
}

BoardServer::BoardServer( const std::string &emulation )
    : frame_( new char[frameRoom] ), board_( EmulatedBoard::loadBoard( emulation ) ) {
    constexpr std::string_view ofMuxes = ".control";
    for ( const auto &knob : board_.knobs() ) {
        const std::string_view name = knob.name;
        if ( !name.ends_with( ofMuxes ) ) {
            continue;
        }
        const EmulatedBoard::Chip *const chip =
            board_.findChip( name.substr( 0, name.size() - ofMuxes.size() ) );
        if ( chip->channelCount() != 0 ) {
            muxKnobs_.push_back( knob.name );
            refusing_.muxes.push_back( chip->address() );
        }
    }
    std::string pattern = std::filesystem::temp_directory_path() / "kavra-faults-XXXXXX";
    folder_ = mkdtemp( pattern.data() );
    sockaddr_un address = {};
    address.sun_family = AF_UNIX;
    const std::string path = folder_ + "/smbusd";
    path.copy( address.sun_path, sizeof address.sun_path - 1 );
    listener_ = socket( AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0 );
    if ( bind( listener_, reinterpret_cast<const sockaddr *>( &address ), sizeof address ) != 0 ||
         listen( listener_, SOMAXCONN ) != 0 ) {
        throw std::runtime_error( path + ": " + strerror( errno ) );
    }
    setenv( "SMBUSD_SOCKET", path.c_str(), 1 );
    theServer = this;
    Faults::answersComeFrom( answerAll );
}

BoardServer::~BoardServer() {
    Faults::answersComeFrom( nullptr );
    close( listener_ );
    for ( size_t i = 0; i < connectionCount_; ++i ) {
        close( connections_[i] );
    }
    std::error_code ignored;
    std::filesystem::remove_all( folder_, ignored );
}

bool BoardServer::everyMuxIsClosed() {
    const Unwatched own;
    return std::all_of( muxKnobs_.begin(), muxKnobs_.end(), [this]( const std::string &knob ) {
        std::string value;
        std::string error;
        return board_.get( knob, value, error ) && value == "0x00";
    } );
}

size_t BoardServer::digest() const {
    const Unwatched own;
    size_t digest = 0;
    for ( const auto &knob : board_.knobs() ) {
        digest = digest * 31 + std::hash<std::string>()( knob.knob.get() );
    }
    return digest;
}

bool BoardServer::owns( int fd ) const {
    return fd == listener_ || std::find( connections_, connections_ + connectionCount_, fd ) !=
                                  connections_ + connectionCount_;
}

void BoardServer::forgetLeftovers( int client ) {
    const Unwatched own;
    acceptAll();
    // The parent's own client has at most one connection, which was the first to come.
    while ( connectionCount_ > ( client == -1 ? 0U : 1U ) ) {
        close( connections_[--connectionCount_] );
    }
    for ( const int fd : { client, connectionCount_ == 0 ? -1 : connections_[0] } ) {
        while ( fd != -1 && recv( fd, frame_.get(), frameRoom, MSG_DONTWAIT ) > 0 ) {
        }
    }
}

void BoardServer::answerAll() {
    const Unwatched own;
    theServer->acceptAll();
    for ( size_t i = 0; i < theServer->connectionCount_; ++i ) {
        theServer->serve( theServer->connections_[i] );
    }
    auto *const first = theServer->connections_;
    theServer->connectionCount_ = static_cast<size_t>(
        std::remove( first, first + theServer->connectionCount_, -1 ) - first );
}

void BoardServer::acceptAll() {
    const Unwatched own;
    while ( connectionCount_ < mostConnections ) {
        const int fd = accept4( listener_, nullptr, nullptr, SOCK_CLOEXEC | SOCK_NONBLOCK );
        if ( fd == -1 ) {
            return;
        }
        connections_[connectionCount_++] = fd;
    }
}

void BoardServer::serve( int &fd ) {
    using namespace SmbusServer;
    const ssize_t received = recv( fd, frame_.get(), frameRoom, 0 );
    if ( received < 0 ) {
        return;
    }
    const auto size = static_cast<size_t>( received );
    if ( size < frameHeader || payloadLength( frame_.get() ) != size - frameHeader ||
         !request_.ParseFromArray( frame_.get() + frameHeader,
                                   static_cast<int>( size - frameHeader ) ) ) {
        close( fd );
        fd = -1;
        return;
    }
    transaction_.perform( request_, response_ );
    const size_t length = response_.ByteSizeLong();
    payloadLengthIs( frame_.get(), length );
    response_.SerializeToArray( frame_.get() + frameHeader, static_cast<int>( length ) );
    send( fd, frame_.get(), frameHeader + length, MSG_NOSIGNAL );
}
