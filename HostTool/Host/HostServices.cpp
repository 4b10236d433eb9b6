#include "HostTool/Host/HostServices.h"

#include "HostTool/Failure.h"
#include "HostTool/Host/AbortNote.h"

#include <PlatformLibrary/pl.h>

#include <systemd/sd-event.h>

#include <sys/signalfd.h>

#include <algorithm>
#include <csignal>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <exception>
#include <utility>

namespace HostTool {

static constexpr uint64_t microsecondsPerMillisecond = 1000;

namespace {

constexpr uint64_t millisecondsPerSecond = 1000;
constexpr int leastImportantKept = 3;
// What failed, and what failed because of it.
constexpr size_t mostLinesKept = 3;

// The library's own words before it arms a timer to poll from.
constexpr int pollLevel = 0;
constexpr const char *pollTrace = "setting polling interval to %ums";

// The library's own words when its one blink timer fires.
constexpr int blinkLevel = 4;
constexpr const char *blinkTrace = "%s() led blink timer hit notifying %zu leds";

int leaveLoop( sd_event_source *, uint64_t, void *userdata ) {
    *static_cast<bool *>( userdata ) = true;
    return 0;
}

int leaveLoopBySignal( sd_event_source *, const signalfd_siginfo *, void *userdata ) {
    *static_cast<bool *>( userdata ) = true;
    return 0;
}

} // namespace

HostServices &HostServices::get() {
    static HostServices services;
    return services;
}

HostServices::HostServices() {
    if ( const int result = sd_event_new( &loop_ ); result < 0 ) {
        throw Failure( ExitCode::boardTrouble,
                       std::string( "no event loop: " ) + strerror( -result ) );
    }
}

bool HostServices::wants( int level ) const {
    return level <= traceLevel_ || level <= leastImportantKept;
}

void HostServices::keep( int level, const std::string &text ) {
    if ( level <= traceLevel_ ) {
        fprintf( stderr, "trace %d: %s\n", level, printable( text ).c_str() );
    }
    if ( level > leastImportantKept ) {
        return;
    }
    if ( lines_.size() == mostLinesKept ) {
        lines_.erase( lines_.begin() );
    }
    lines_.push_back( printable( text ) );
}

void HostServices::runFor( int milliseconds ) {
    bool over = false;
    sd_event_source *end = nullptr;
    const uint64_t period = static_cast<uint64_t>( milliseconds ) * microsecondsPerMillisecond;
    int result =
        sd_event_add_time_relative( loop_, &end, CLOCK_MONOTONIC, period, 1, leaveLoop, &over );
    if ( result >= 0 ) {
        // However late the machine lets us look, the timers that are due by then fire first.
        result = sd_event_source_set_priority( end, SD_EVENT_PRIORITY_IDLE );
    }
    while ( result >= 0 && !over ) {
        result = sd_event_run( loop_, UINT64_MAX );
    }
    sd_event_source_unref( end );
    checkLoop( result );
}

void HostServices::runUntilInterrupted( std::optional<int> seconds ) {
    bool over = false;
    std::vector<sd_event_source *> ends;
    int result = 0;
    for ( const int number : interruptions() ) {
        if ( result >= 0 ) {
            result =
                sd_event_add_signal( loop_, &ends.emplace_back(), number | SD_EVENT_SIGNAL_PROCMASK,
                                     leaveLoopBySignal, &over );
        }
    }
    if ( result >= 0 && seconds ) {
        const uint64_t period =
            static_cast<uint64_t>( *seconds ) * millisecondsPerSecond * microsecondsPerMillisecond;
        result = sd_event_add_time_relative( loop_, &ends.emplace_back(), CLOCK_MONOTONIC, period,
                                             1, leaveLoop, &over );
    }
    while ( result >= 0 && !over ) {
        result = sd_event_run( loop_, UINT64_MAX );
    }
    for ( sd_event_source *end : ends ) {
        sd_event_source_unref( end );
    }
    checkLoop( result );
}

void HostServices::timersAreHeld( bool held ) {
    holdsTimers_ = held;
    if ( held ) {
        return;
    }
    const std::vector<pl_timer *> due = std::move( deferred_ );
    deferred_.clear();
    for ( pl_timer *timer : due ) {
        pl_timer_set( timer, 0 );
    }
}

void HostServices::forget( const pl_timer *timer ) {
    deferred_.erase( std::remove( deferred_.begin(), deferred_.end(), timer ), deferred_.end() );
    std::erase_if( pollers_, [=]( const Poller &each ) { return each.timer == timer; } );
}

void HostServices::isArmed( pl_timer *timer, int period ) {
    if ( std::exchange( armsPoller_, false ) ) {
        pollers_.push_back( { timer, period, std::nullopt } );
    }
}

std::vector<int> HostServices::pollPeriods() const {
    std::vector<int> periods;
    periods.reserve( pollers_.size() );
    for ( const Poller &each : pollers_ ) {
        periods.push_back( each.period );
    }
    return periods;
}

void HostServices::hasFired( const pl_timer *timer ) {
    for ( Poller &each : pollers_ ) {
        if ( each.timer == timer ) {
            each.polledAt = std::chrono::steady_clock::now();
        }
    }
}

std::optional<std::chrono::steady_clock::time_point> HostServices::lastPoll() const {
    // "Never" is less than any time.
    const auto longestAgo = std::min_element(
        pollers_.begin(), pollers_.end(),
        []( const Poller &left, const Poller &right ) { return left.polledAt < right.polledAt; } );
    return longestAgo == pollers_.end() ? std::nullopt : longestAgo->polledAt;
}

void HostServices::hear( int level, const char *format ) {
    if ( level == pollLevel && strcmp( format, pollTrace ) == 0 ) {
        armsPoller_ = true;
    }
    if ( level == blinkLevel && strcmp( format, blinkTrace ) == 0 ) {
        ++blinks_;
    }
}

void checkLoop( int result ) {
    if ( result < 0 ) {
        throw Failure( ExitCode::boardTrouble,
                       std::string( "the event loop failed: " ) + strerror( -result ) );
    }
}

bool isIgnored( int number ) {
    struct sigaction action = {};
    return sigaction( number, nullptr, &action ) == 0 && action.sa_handler == SIG_IGN;
}

std::vector<int> interruptions() {
    std::vector<int> numbers = { SIGINT, SIGTERM, SIGHUP };
    std::erase_if( numbers, isIgnored );
    return numbers;
}

std::string printable( std::string text, bool keepLineEnds ) {
    while ( !text.empty() && text.back() == '\n' ) {
        text.pop_back();
    }
    for ( char &c : text ) {
        const bool isPlain = ( c >= ' ' && c <= '~' ) || ( keepLineEnds && c == '\n' );
        c = isPlain ? c : ( c == '\n' || c == '\t' ? ' ' : '?' );
    }
    return text;
}

} // namespace HostTool

using HostTool::HostServices;
using HostTool::microsecondsPerMillisecond;

struct pl_timer {
    void ( *callback )( void * );
    void *context;
    sd_event_source *source;
};

extern "C" void pl_trace( int level, const char *format, ... ) {
    HostServices &services = HostServices::get();
    services.hear( level, format );
    if ( !services.wants( level ) ) {
        return;
    }
    va_list arguments;
    va_start( arguments, format );
    char *text = nullptr;
    const int length = vasprintf( &text, format, arguments );
    va_end( arguments );
    if ( length >= 0 ) {
        services.keep( level, text );
        free( text );
    }
}

static int timerFires( sd_event_source *, uint64_t, void *userdata ) {
    pl_timer *timer = static_cast<pl_timer *>( userdata );
    if ( HostServices::get().holdsTimers() ) {
        HostServices::get().defer( timer );
        return 0;
    }
    const HostTool::AbortNote note( "while a timer of the library ran" );
    // An exception may not travel through the event loop, which is C.
    try {
        timer->callback( timer->context );
        HostServices::get().hasFired( timer );
    } catch ( const std::exception &exception ) {
        fprintf( stderr, "kavractl: a timer of the library failed: %s\n", exception.what() );
    }
    return 0;
}

extern "C" pl_timer *pl_timer_add( void ( *callback )( void * ), void *context ) {
    pl_timer *timer = new pl_timer{ callback, context, nullptr };
    const int result = sd_event_add_time( HostServices::get().loop(), &timer->source,
                                          CLOCK_MONOTONIC, UINT64_MAX, 1, timerFires, timer );
    if ( result < 0 || sd_event_source_set_enabled( timer->source, SD_EVENT_OFF ) < 0 ) {
        pl_timer_delete( timer );
        return nullptr;
    }
    return timer;
}

extern "C" int pl_timer_set( pl_timer *timer, int period ) {
    if ( period < 0 ) {
        return -1;
    }
    HostServices::get().isArmed( timer, period );
    const uint64_t delay = static_cast<uint64_t>( period ) * microsecondsPerMillisecond;
    if ( sd_event_source_set_time_relative( timer->source, delay ) < 0 ) {
        return -1;
    }
    return sd_event_source_set_enabled( timer->source, SD_EVENT_ONESHOT ) < 0 ? -1 : 0;
}

extern "C" void pl_timer_delete( pl_timer *timer ) {
    HostServices::get().forget( timer );
    sd_event_source_disable_unref( timer->source );
    delete timer;
}
