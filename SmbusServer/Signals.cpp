#include "SmbusServer/Signals.h"

#include "SmbusServer/Log.h"
#include "SmbusServer/ServiceManager.h"

#include <algorithm>
#include <csignal>
#include <cstdint>
#include <cstring>
#include <exception>
#include <stdexcept>
#include <string>
#include <utility>

namespace SmbusServer {

static void check( int result, const char *what ) {
    if ( result < 0 ) {
        throw std::runtime_error( std::string( what ) + ": " + strerror( -result ) );
    }
}

void blockSignals() {
    sigset_t ours;
    sigemptyset( &ours );
    for ( const int each : { SIGTERM, SIGINT, SIGHUP } ) {
        sigaddset( &ours, each );
    }
    pthread_sigmask( SIG_BLOCK, &ours, nullptr );
}

static EventSource watch( sd_event *loop, int number, sd_event_signal_handler_t handler,
                          void *self ) {
    sd_event_source *source = nullptr;
    check( sd_event_add_signal( loop, &source, number, handler, self ), strsignal( number ) );
    return EventSource( source );
}

// Made before it is needed: a server that has run out of descriptors gets no timer any more.
static EventSource newDeadline( sd_event *loop ) {
    sd_event_source *source = nullptr;
    check( sd_event_add_time( loop, &source, CLOCK_MONOTONIC, UINT64_MAX, 0, nullptr, nullptr ),
           "time limit" );
    return EventSource( source );
}

StopSignals::StopSignals( sd_event *loop, std::vector<Listener *> listeners,
                          std::chrono::microseconds longest )
    : loop_( loop ), listeners_( std::move( listeners ) ), longest_( longest ),
      terminate_( watch( loop, SIGTERM, arrived, this ) ),
      interrupt_( watch( loop, SIGINT, arrived, this ) ), deadline_( newDeadline( loop ) ) {}

int StopSignals::arrived( sd_event_source *, const signalfd_siginfo *, void *userdata ) {
    static_cast<StopSignals *>( userdata )->stop();
    return 0;
}

void StopSignals::stop() {
    if ( stopping_ ) {
        sd_event_exit( loop_, 0 );
        return;
    }
    stopping_ = true;
    tellStopping();
    check( sd_event_source_set_time_relative( deadline_.get(),
                                              static_cast<uint64_t>( longest_.count() ) ),
           "time limit" );
    for ( Listener *each : listeners_ ) {
        each->drain( [this] {
            if ( std::all_of( listeners_.begin(), listeners_.end(),
                              []( const Listener *listener ) { return listener->drained(); } ) ) {
                sd_event_exit( loop_, 0 );
            }
        } );
    }
}

ReloadSignal::ReloadSignal( sd_event *loop, Read read )
    : read_( std::move( read ) ), source_( watch( loop, SIGHUP, arrived, this ) ) {}

int ReloadSignal::arrived( sd_event_source *, const signalfd_siginfo *, void *userdata ) {
    tellReloading();
    try {
        static_cast<ReloadSignal *>( userdata )->read_( [] {
            logEvent( "the documents were read again" );
            tellReady();
        } );
    } catch ( const std::exception &error ) {
        logEvent( "%s; what was read before stays", error.what() );
        tellReady();
    }
    return 0;
}

} // namespace SmbusServer
