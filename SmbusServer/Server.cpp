#include "SmbusServer/Server.h"

#include "EmulatedBoard/Document.h"
#include "SmbusServer/Connection.h"
#include "SmbusServer/ControlConnection.h"
#include "SmbusServer/EmulatedBackend.h"
#include "SmbusServer/Log.h"

#include <csignal>
#include <cstring>
#include <memory>
#include <stdexcept>
#include <string>
#include <utility>

namespace SmbusServer {

static void check( int result, const char *what ) {
    if ( result < 0 ) {
        throw std::runtime_error( std::string( what ) + ": " + strerror( -result ) );
    }
}

static EventLoop newLoop() {
    sd_event *loop = nullptr;
    check( sd_event_new( &loop ), "no event loop" );
    return EventLoop( loop );
}

// Without a callback of ours the loop ends with the given status.
static void stopOnSignals( sd_event *loop ) {
    sigset_t stops;
    sigemptyset( &stops );
    sigaddset( &stops, SIGTERM );
    sigaddset( &stops, SIGINT );
    sigprocmask( SIG_BLOCK, &stops, nullptr );
    check( sd_event_add_signal( loop, nullptr, SIGTERM, nullptr, nullptr ), "SIGTERM" );
    check( sd_event_add_signal( loop, nullptr, SIGINT, nullptr, nullptr ), "SIGINT" );
}

void serve( const Options &options ) {
    EmulatedBoard::Board board = EmulatedBoard::loadBoard( options.board );
    EmulatedBackend backend( board );
    Transaction transaction( backend );
    Workspace workspace;

    const EventLoop loop = newLoop();
    stopOnSignals( loop.get() );
    Listener clients( loop.get(), options.socket, [&]( Descriptor client, Listener &listener ) {
        return std::make_unique<Connection>( loop.get(), std::move( client ), listener, transaction,
                                             workspace );
    } );
    Listener control( loop.get(), options.control, [&]( Descriptor client, Listener &listener ) {
        return std::make_unique<ControlConnection>( loop.get(), std::move( client ), listener,
                                                    board );
    } );
    logEvent( "listening on %s", options.socket.c_str() );
    check( sd_event_loop( loop.get() ), "event loop" );
    logEvent( "stopped" );
}

} // namespace SmbusServer
