// The hardened headers define recv themselves, and so do we.
#undef _FORTIFY_SOURCE

#include "tests/integration/DyingServer.h"

#include "SmbusServer/Connection.h"
#include "SmbusServer/MuxGuard.h"
#include "SmbusServer/UnixSocket.h"

#include <algorithm>
#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <memory>
#include <stdexcept>
#include <sys/mman.h>
#include <sys/prctl.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <sys/wait.h>
#include <unistd.h>
#include <utility>

using namespace SmbusServer;
using Moment = DyingServer::Moment;

namespace {

/// What the child is to do; the test's own process counts nothing and never dies.
struct Plan {
    DyingServer::Shared *shared = nullptr;
    Moment moment = Moment::Never;
    size_t at = 0;
};
Plan plan;

void die() {
    kill( getpid(), SIGKILL );
}

size_t left( Moment moment, size_t size, size_t soFar ) {
    return plan.moment == moment ? std::min( size, plan.at - soFar ) : size;
}

class DyingBackend : public Backend {
  public:
    explicit DyingBackend( Backend &below ) : below_( below ) {}

    Cause perform( const Operation &operation, std::string &read ) override {
        ++plan.shared->operations;
        dieIf( Moment::BeforeOperation );
        const Cause cause = below_.perform( operation, read );
        if ( cause == Cause::None && operation.type == Smbus::WRITE && !operation.isSendByte() ) {
            ++plan.shared->writes.at( operation.reg );
        }
        dieIf( Moment::AfterOperation );
        return cause;
    }

    bool severalAccelerators( const BusName &bus ) const override {
        return below_.severalAccelerators( bus );
    }

  private:
    void dieIf( Moment moment ) const {
        if ( plan.moment == moment && plan.at == plan.shared->operations ) {
            die();
        }
    }

    Backend &below_;
};

/// Wires that others have used before.
class UsedWiring : public PrivateWiring {
  public:
    bool startsOff() const override { return false; }
    std::vector<uint8_t> rootMuxesOf( const BusName & ) const override { return { 0x70, 0x72 }; }
};

constexpr const char *boardDocument = R"({ "busses": [ { "master": "I2C", "bus": 3, "chips": [
    { "name": "outer", "type": "PCA9548", "address": "0x70", "channels": [
        { "channel": 0, "chips": [
            { "name": "inner", "type": "PCA9548", "address": "0x71", "channels": [
                { "channel": 3, "chips": [
                    { "name": "sensor", "type": "LM75", "address": "0x48",
                      "set": { "temperature": 24.5 } } ] } ] } ] } ] },
    { "name": "other", "type": "PCA9548", "address": "0x72", "channels": [
        { "channel": 0, "chips": [
            { "name": "decoy", "type": "LM75", "address": "0x48",
              "set": { "temperature": 97 } } ] } ] } ] } ] })";

[[noreturn]] void serve( ListeningSocket socket, const std::string &boardPath ) {
    RemoteBoard board( boardPath );
    DyingBackend backend( board );
    UsedWiring wiring;
    MuxGuard guard( backend, wiring );
    DirectPerformer performer( guard );
    Workspace workspace;
    sd_event *loop = nullptr;
    sd_event_new( &loop );
    Listener clients( loop, std::move( socket ), [&]( Descriptor client, Listener &listener ) {
        return std::make_unique<Connection>( loop, std::move( client ), listener, performer,
                                             workspace );
    } );
    sd_event_loop( loop );
    _exit( 1 );
}

} // namespace

// recvfrom() and sendto() with no address are recv() and send() under another name.
extern "C" ssize_t recv( int fd, void *buffer, size_t size, int flags ) {
    if ( plan.shared == nullptr ) {
        return recvfrom( fd, buffer, size, flags, nullptr, nullptr );
    }
    const size_t room = left( Moment::Received, size, plan.shared->received );
    if ( room == 0 ) {
        die();
    }
    const ssize_t count = recvfrom( fd, buffer, room, flags, nullptr, nullptr );
    plan.shared->received += static_cast<size_t>( std::max( count, ssize_t{ 0 } ) );
    if ( plan.moment == Moment::Received && plan.shared->received == plan.at ) {
        die();
    }
    return count;
}

extern "C" ssize_t send( int fd, const void *bytes, size_t size, int flags ) {
    if ( plan.shared == nullptr ) {
        return sendto( fd, bytes, size, flags, nullptr, 0 );
    }
    const size_t room = left( Moment::Sent, size, plan.shared->sent );
    plan.shared->sent += room; // before the client can know of it
    const ssize_t count = room == 0 ? 0 : sendto( fd, bytes, room, flags, nullptr, 0 );
    plan.shared->sent -= room - static_cast<size_t>( std::max( count, ssize_t{ 0 } ) );
    if ( plan.moment == Moment::Sent && plan.shared->sent == plan.at ) {
        die();
    }
    return count;
}

DyingServer::DyingServer() : board_( boardDocument ) {
    std::string folder = std::filesystem::temp_directory_path() / "smbusd-XXXXXX";
    void *memory = mmap( nullptr, sizeof( Shared ), PROT_READ | PROT_WRITE,
                         MAP_SHARED | MAP_ANONYMOUS, -1, 0 );
    if ( mkdtemp( folder.data() ) == nullptr || memory == MAP_FAILED ) {
        throw std::runtime_error( "no room for a server" );
    }
    shared_ = new ( memory ) Shared{};
    folder_ = folder;
    path_ = folder_ + "/smbusd.sock";
    setenv( "SMBUSD_SOCKET", path_.c_str(), 1 );
}

DyingServer::~DyingServer() {
    stop();
    unsetenv( "SMBUSD_SOCKET" );
    munmap( shared_, sizeof( Shared ) );
    std::filesystem::remove_all( folder_ );
}

static Descriptor listenAt( const std::string &path ) {
    Descriptor made( socket( AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0 ) );
    sockaddr_un address = {};
    address.sun_family = AF_UNIX;
    path.copy( address.sun_path, sizeof address.sun_path - 1 );
    unlink( path.c_str() );
    if ( bind( made.get(), reinterpret_cast<const sockaddr *>( &address ), sizeof address ) != 0 ||
         listen( made.get(), SOMAXCONN ) != 0 ) {
        throw std::runtime_error( "no socket at " + path );
    }
    return made;
}

// The socket listens before the child is made: a client need not wait for it.
void DyingServer::start( Moment moment, size_t at ) {
    shared_->received = 0;
    shared_->sent = 0;
    shared_->operations = 0;
    Descriptor listener = listenAt( path_ );
    pid_ = fork();
    if ( pid_ == 0 ) {
        prctl( PR_SET_PDEATHSIG, SIGKILL );
        plan = { shared_, moment, at };
        serve( ListeningSocket( std::move( listener ) ), board_.path() );
    }
}

bool DyingServer::hasDied() {
    int status = 0;
    waitpid( std::exchange( pid_, -1 ), &status, 0 );
    return WIFSIGNALED( status ) && WTERMSIG( status ) == SIGKILL;
}

void DyingServer::stop() {
    if ( pid_ > 0 ) {
        kill( pid_, SIGKILL );
        hasDied();
    }
}

void DyingServer::forgetWrites() {
    for ( auto &each : shared_->writes ) {
        each = 0;
    }
}
