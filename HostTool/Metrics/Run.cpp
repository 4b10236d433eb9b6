#include "HostTool/Metrics/Run.h"

#include "HostTool/Host/HostServices.h"

#include <systemd/sd-event.h>

#include <sys/signalfd.h>

#include <csignal>
#include <cstdint>

namespace HostTool::Metrics {

namespace {

constexpr uint64_t microsecondsPerSecond = 1'000'000;

int stopBySignal( sd_event_source *, const signalfd_siginfo *, void *run ) {
    static_cast<Run *>( run )->stop();
    return 0;
}

int stopByTime( sd_event_source *, uint64_t, void *run ) {
    static_cast<Run *>( run )->stop();
    return 0;
}

} // namespace

Run::~Run() {
    for ( sd_event_source *source : sources_ ) {
        sd_event_source_disable_unref( source );
    }
}

void Run::guard( const std::function<void()> &work ) {
    try {
        work();
    } catch ( ... ) {
        failure_ = std::current_exception();
        isOver_ = true;
    }
}

void Run::stopsOnSignals() {
    for ( const int number : interruptions() ) {
        sd_event_source *&source = sources_.emplace_back();
        checkLoop( sd_event_add_signal( HostServices::get().loop(), &source,
                                        number | SD_EVENT_SIGNAL_PROCMASK, stopBySignal, this ) );
    }
}

void Run::stopsAfter( int seconds ) {
    sd_event_source *&source = sources_.emplace_back();
    checkLoop( sd_event_add_time_relative( HostServices::get().loop(), &source, CLOCK_MONOTONIC,
                                           static_cast<uint64_t>( seconds ) * microsecondsPerSecond,
                                           1, stopByTime, this ) );
}

void Run::untilStopped() {
    while ( !isOver_ ) {
        checkLoop( sd_event_run( HostServices::get().loop(), UINT64_MAX ) );
    }
    if ( failure_ ) {
        std::rethrow_exception( failure_ );
    }
}

} // namespace HostTool::Metrics
