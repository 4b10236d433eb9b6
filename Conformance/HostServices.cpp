#include "Conformance/HostServices.h"

#include <PlatformLibrary/pl.h>

#include <algorithm>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <dlfcn.h>
#include <iterator>
#include <list>
#include <memory>
#include <sys/syscall.h>
#include <unistd.h>
#include <vector>

struct pl_timer {
    void ( *callback )( void * );
    void *context;
    bool isArmed;
    bool isDue; ///< this round of firing has not come to it yet
};

namespace {

size_t traceCount = 0;
std::string latestTrace;
std::list<std::unique_ptr<pl_timer>> timers;
bool sleepsAreSkipped = false;
std::set<std::string> variables;
std::string watchedLibrary;

// The system's libraries, the vendor's links among them, have their own business with the
// environment.
bool isOfThePlatform( const void *code ) {
    Dl_info info = {};
    if ( dladdr( code, &info ) == 0 || info.dli_fname == nullptr ) {
        return false;
    }
    Dl_info own = {};
    dladdr( reinterpret_cast<const void *>( &isOfThePlatform ), &own );
    const std::string file = info.dli_fname;
    if ( info.dli_fbase == own.dli_fbase || file == watchedLibrary ) {
        return info.dli_fbase != own.dli_fbase;
    }
    const char *const systemFolders[] = { "/lib/", "/lib64/", "/usr/lib/", "/usr/lib64/" };
    return std::none_of( std::begin( systemFolders ), std::end( systemFolders ),
                         [&]( const char *folder ) { return file.starts_with( folder ); } );
}

char *variableOf( const char *name ) {
    const size_t length = strlen( name );
    for ( char **each = environ; each != nullptr && *each != nullptr; ++each ) {
        if ( strncmp( *each, name, length ) == 0 && ( *each )[length] == '=' ) {
            return *each + length + 1;
        }
    }
    return nullptr;
}

int sleepFor( clockid_t clock, int flags, const timespec *request, timespec *remaining ) {
    if ( sleepsAreSkipped ) {
        return 0;
    }
    return static_cast<int>( syscall( SYS_clock_nanosleep, clock, flags, request, remaining ) );
}

} // namespace

namespace Conformance::HostServices {

size_t traces() {
    return traceCount;
}

const std::string &lastTrace() {
    return latestTrace;
}

size_t armedTimers() {
    size_t count = 0;
    for ( const auto &timer : timers ) {
        count += timer->isArmed ? 1U : 0U;
    }
    return count;
}

size_t fireTimers() {
    std::vector<pl_timer *> due;
    for ( const auto &timer : timers ) {
        if ( timer->isArmed ) {
            due.push_back( timer.get() );
            timer->isArmed = false;
            timer->isDue = true;
        }
    }
    size_t fired = 0;
    for ( pl_timer *timer : due ) {
        // A callback may have deleted this timer, and a new one may lie in its place.
        const bool isThere = std::any_of( timers.begin(), timers.end(),
                                          [&]( const auto &each ) { return each.get() == timer; } );
        if ( isThere && timer->isDue ) {
            timer->isDue = false;
            ++fired;
            timer->callback( timer->context );
        }
    }
    return fired;
}

void skipSleeps( bool skipped ) {
    sleepsAreSkipped = skipped;
}

void watchEnvironmentOf( const std::string &library ) {
    watchedLibrary = library;
}

const std::set<std::string> &variablesRead() {
    return variables;
}

} // namespace Conformance::HostServices

// Every trace is made into text, wanted or not: a format that does not fit its arguments shows
// here.
extern "C" void pl_trace( int, const char *format, ... ) {
    va_list arguments;
    va_start( arguments, format );
    char *text = nullptr;
    if ( vasprintf( &text, format, arguments ) >= 0 ) {
        latestTrace = text;
        free( text );
    }
    va_end( arguments );
    ++traceCount;
}

extern "C" pl_timer *pl_timer_add( void ( *callback )( void * ), void *context ) {
    timers.push_back( std::make_unique<pl_timer>( pl_timer{ callback, context, false, false } ) );
    return timers.back().get();
}

extern "C" int pl_timer_set( pl_timer *timer, int ) {
    timer->isArmed = true;
    return 0;
}

extern "C" void pl_timer_delete( pl_timer *timer ) {
    timers.remove_if( [&]( const auto &each ) { return each.get() == timer; } );
}

extern "C" void pl_fd_watcher_delete( pl_fd_watcher * ) {}

// The program's own stand in front of the C library's for everything that is loaded.
extern "C" char *getenv( const char *name ) noexcept {
    if ( isOfThePlatform( __builtin_return_address( 0 ) ) ) {
        variables.insert( name );
    }
    return variableOf( name );
}

extern "C" char *secure_getenv( const char *name ) noexcept {
    if ( isOfThePlatform( __builtin_return_address( 0 ) ) ) {
        variables.insert( name );
    }
    return variableOf( name );
}

extern "C" int nanosleep( const timespec *request, timespec *remaining ) {
    return sleepFor( CLOCK_MONOTONIC, 0, request, remaining );
}

extern "C" int clock_nanosleep( clockid_t clock, int flags, const timespec *request,
                                timespec *remaining ) {
    return sleepFor( clock, flags, request, remaining );
}

extern "C" int usleep( useconds_t microseconds ) {
    constexpr useconds_t microsecondsPerSecond = 1000000;
    const timespec request = { static_cast<time_t>( microseconds / microsecondsPerSecond ),
                               static_cast<long>( microseconds % microsecondsPerSecond ) * 1000 };
    return sleepFor( CLOCK_MONOTONIC, 0, &request, nullptr );
}

extern "C" unsigned sleep( unsigned seconds ) {
    const timespec request = { static_cast<time_t>( seconds ), 0 };
    sleepFor( CLOCK_MONOTONIC, 0, &request, nullptr );
    return 0;
}
