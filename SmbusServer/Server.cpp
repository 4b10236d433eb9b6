#include "SmbusServer/Server.h"

#include "SmbusServer/AnswerFaults.h"
#include "SmbusServer/Connection.h"
#include "SmbusServer/ControlConnection.h"
#include "SmbusServer/FaultLayer.h"
#include "SmbusServer/FaultScript.h"
#include "SmbusServer/Hardware.h"
#include "SmbusServer/Log.h"
#include "SmbusServer/MuxGuard.h"
#include "SmbusServer/Peer.h"
#include "SmbusServer/RecordLayer.h"
#include "SmbusServer/ServiceManager.h"
#include "SmbusServer/Signals.h"

#include <cstdio>
#include <cstring>
#include <functional>
#include <malloc.h>
#include <memory>
#include <optional>
#include <stdexcept>
#include <string>
#include <utility>

namespace SmbusServer {

static void check( int result, const char *what ) {
    if ( result < 0 ) {
        throw std::runtime_error( std::string( what ) + ": " + strerror( -result ) );
    }
}

// Large buffers come and go with what clients send: each goes back to the system when it is free.
static void limitFreeMemory() {
    constexpr int largestKept = 128 * 1024;
    mallopt( M_MMAP_THRESHOLD, largestKept );
    mallopt( M_TRIM_THRESHOLD, 4 * largestKept );
}

static EventLoop newLoop() {
    sd_event *loop = nullptr;
    check( sd_event_new( &loop ), "no event loop" );
    return EventLoop( loop );
}

/// Which sockets to serve: those that systemd listens on already, or our own.
static std::pair<ListeningSocket, ListeningSocket> openSockets( const Options &options,
                                                                HandedSockets handed ) {
    const auto open = []( Descriptor &socket, const std::string &path ) {
        return socket.valid() ? ListeningSocket( std::move( socket ) ) : ListeningSocket( path );
    };
    ListeningSocket clients = open( handed.clients, options.socket );
    ListeningSocket control = open( handed.control, options.control );
    if ( options.group ) {
        clients.groupIs( *options.group );
        control.groupIs( *options.group );
    }
    return { std::move( clients ), std::move( control ) };
}

static void admit( const Descriptor &client, const Options &options ) {
    if ( options.group && !mayUse( client.get(), *options.group ) ) {
        throw std::runtime_error( "not in the group" );
    }
}

static void addFaults( FaultList &faults, const std::string &script ) {
    if ( script.empty() ) {
        return;
    }
    for ( Fault &fault : loadFaults( script ) ) {
        if ( !faults.add( std::move( fault ) ) ) {
            throw FaultError( script + ": more than " + std::to_string( FaultList::mostFaults ) +
                              " faults" );
        }
    }
}

// What is read must not grow while it is read.
static void refuseToRecordOver( const Options &options ) {
    if ( sameFile( options.record, options.replay ) ) {
        throw RecordingError( options.record + ": a recording that is replayed cannot be the one "
                                               "that is written" );
    }
}

// At once, so that it stands in front of what is wrong with the next.
static void tellFine( const std::string &what ) {
    printf( "%s: fine\n", what.c_str() );
    fflush( stdout );
}

void checkDocuments( const Options &options ) {
    newHardware( options );
    const std::string &file = options.i2cDev           ? *options.i2cDev
                              : options.replay.empty() ? options.board
                                                       : options.replay;
    tellFine( file.empty() ? "bus N of the master I2C is /dev/i2c-N" : file );
    if ( !options.faults.empty() ) {
        FaultList faults;
        addFaults( faults, options.faults );
        tellFine( options.faults );
    }
    if ( !options.record.empty() ) {
        refuseToRecordOver( options );
        checkRecording( options.record );
        tellFine( options.record );
    }
}

void serve( const Options &options ) {
    HandedSockets handed = takeHandedSockets(); // before anything else gets their numbers
    blockSignals();
    limitFreeMemory();
    const std::unique_ptr<Hardware> hardware = newHardware( options );
    FaultList faults;
    addFaults( faults, options.faults );
    FaultLayer faulty( hardware->backend(), faults );
    std::optional<RecordLayer> record;
    if ( !options.record.empty() ) {
        refuseToRecordOver( options );
        record.emplace( faulty, options.record );
    }
    Backend &recorded = record ? static_cast<Backend &>( *record ) : faulty;
    MuxGuard guard( recorded, hardware->wiring() );
    Workspace workspace;

    const EventLoop loop = newLoop();
    const std::unique_ptr<Performer> direct = hardware->newPerformer( loop.get(), guard );
    AnswerFaults performer( loop.get(), *direct, faults );
    const World world{ hardware->board(), faults };
    auto [clientSocket, controlSocket] = openSockets( options, std::move( handed ) );
    const std::string clientPath = clientSocket.path();
    Listener clients( loop.get(), std::move( clientSocket ),
                      [&]( Descriptor client, Listener &listener ) {
                          admit( client, options );
                          return std::make_unique<Connection>( loop.get(), std::move( client ),
                                                               listener, performer, workspace );
                      } );
    Listener control( loop.get(), std::move( controlSocket ),
                      [&]( Descriptor client, Listener &listener ) {
                          admit( client, options );
                          return std::make_unique<ControlConnection>(
                              loop.get(), std::move( client ), listener, world );
                      } );
    const StopSignals stop( loop.get(), { &clients, &control } );
    const ReloadSignal reload(
        loop.get(), [&]( std::function<void()> done ) { hardware->reload( std::move( done ) ); } );
    answerWatchdog( loop.get() );
    tellReady();
    logEvent( "listening on %s", clientPath.c_str() );
    check( sd_event_loop( loop.get() ), "event loop" );
    performer.finish();
    guard.letGo();
    logEvent( "stopped" );
}

} // namespace SmbusServer
