#include "HostTool/Metrics/Collector.h"

#include "HostTool/Host/HostServices.h"
#include "HostTool/Host/Server.h"

#include <systemd/sd-event.h>

#include <algorithm>
#include <cstdio>
#include <filesystem>
#include <utility>

namespace HostTool::Metrics {

namespace {

using namespace std::chrono_literals;

// How long one turn of the loop may read: short for a person, long beside what a turn costs.
constexpr auto longestTurn = 20ms;

Moment now() {
    return std::chrono::steady_clock::now();
}

void say( const std::string &line ) {
    fprintf( stderr, "kavractl: %s\n", line.c_str() );
}

} // namespace

Collector::Collector( Run &run, const Task &task )
    : run_( run ), task_( task ), entries_( selectEntries( task.board, task.options.operands ) ),
      exposition_( { KAVRA_VERSION,
                     std::filesystem::path( task.library->path() ).lexically_normal(),
                     task.board.folder } ) {
    if ( task.options.wait ) {
        add();
    }
    const auto onTime = []( sd_event_source *, uint64_t, void *self ) {
        auto *collector = static_cast<Collector *>( self );
        collector->run_.guard( [=] { collector->turn(); } );
        return 0;
    };
    checkLoop( sd_event_add_time( HostServices::get().loop(), &timer_, CLOCK_MONOTONIC, UINT64_MAX,
                                  1, onTime, this ) );
    link_ = std::make_unique<ServerLink>(
        HostServices::get().loop(), [this]( const std::string &why ) { serverChanged( why ); } );
    if ( !hasDevices_ && serverReason_.empty() ) {
        add();
    }
}

Collector::~Collector() {
    sd_event_source_disable_unref( timer_ );
    HostServices::get().timersAreHeld( false );
}

void Collector::collect( Done done ) {
    waiting_.push_back( std::move( done ) );
    if ( step_ == Step::idle ) {
        turnIn( 0 );
    }
}

void Collector::serverChanged( const std::string &reason ) {
    HostServices::get().timersAreHeld( !reason.empty() );
    // What to do about it is said once.
    say( reason.empty() ? "the SMBus server is there"
         : link_        ? "no SMBus server at " + serverSocket() + ": " + reason
                        : noServerMessage( serverSocket(), reason, task_.board.folder ) );
    serverReason_ = reason;
    lostServer_ = lostServer_ || !reason.empty();
    if ( step_ == Step::settling && lostServer_ ) {
        turnIn( 0 );
    }
}

void Collector::add() {
    try {
        devices_ = addDevices( *task_.library, task_.options, task_.board, entries_ );
    } catch ( const Failure &failure ) {
        if ( failure.code() != ExitCode::unreachable ) {
            throw;
        }
        // Whether there is a server is the link's to tell.
        if ( link_ ) {
            say( failure.what() );
        }
        return;
    }
    hasDevices_ = true;
    settledAt_ = now();
    for ( Device &device : devices_ ) {
        const int settle = device.row->settleMilliseconds;
        if ( device.record && settle > 0 ) {
            readDevice( device );
            settledAt_ = std::max( settledAt_, now() + std::chrono::milliseconds( settle ) );
        }
    }
}

void Collector::turnIn( uint64_t microseconds ) {
    checkLoop( sd_event_source_set_time_relative( timer_, microseconds ) );
    checkLoop( sd_event_source_set_enabled( timer_, SD_EVENT_ONESHOT ) );
}

void Collector::turn() {
    switch ( step_ ) {
    case Step::idle:
        begin();
        break;
    case Step::settling:
        startedAt_ = now();
        step_ = Step::reading;
        [[fallthrough]];
    case Step::reading:
        readSome();
        break;
    case Step::publishing:
        publish();
        break;
    }
}

void Collector::begin() {
    asking_ = std::exchange( waiting_, {} );
    startedAt_ = now();
    lostServer_ = !serverReason_.empty();
    next_ = 0;
    if ( !hasDevices_ && !lostServer_ ) {
        add();
    }
    const auto untilSettled =
        std::chrono::duration_cast<std::chrono::microseconds>( settledAt_ - startedAt_ ).count();
    const bool mustSettle = !lostServer_ && hasDevices_ && untilSettled > 0;
    step_ = mustSettle ? Step::settling : Step::reading;
    turnIn( mustSettle ? static_cast<uint64_t>( untilSettled ) : 0 );
}

void Collector::readSome() {
    const Moment end = now() + longestTurn;
    bool isWell = true;
    while ( !lostServer_ && isWell && next_ < devices_.size() && now() < end ) {
        Device &device = devices_[next_++];
        if ( device.record ) {
            readDevice( device );
        } else {
            device.state = State::failed;
            device.readings =
                allFailed( device.row->columns.size(), PL_STATUS_FAILED, device.refusal );
        }
        // Should it have failed because the server went, the loss is noticed before the next turn.
        isWell = device.state != State::failed;
    }
    step_ = lostServer_ || next_ >= devices_.size() ? Step::publishing : Step::reading;
    turnIn( 0 );
}

void Collector::publish() {
    step_ = Step::idle;
    const bool hasServer = !lostServer_ && hasDevices_;
    const Moment end = now();
    if ( hasServer ) {
        for ( const std::string &line : failures_.news( devices_ ) ) {
            say( line );
        }
    }
    const Result result = { exposition_.text( { hasServer, end - startedAt_, end }, devices_ ),
                            hasServer               ? ""
                            : serverReason_.empty() ? "it went while the board was read"
                                                    : serverReason_ };
    for ( const Done &done : std::exchange( asking_, {} ) ) {
        done( result );
    }
    if ( !waiting_.empty() ) {
        turnIn( 0 );
    }
}

} // namespace HostTool::Metrics
