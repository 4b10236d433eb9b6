#include "tests/soak/VirtualHost.h"

#include <PlatformLibrary/pl.h>

#include <algorithm>
#include <array>
#include <cstdio>
#include <cstring>
#include <optional>
#include <unistd.h>

struct pl_timer {
    void ( *callback )( void * );
    void *context;
    std::optional<uint64_t> due; // none: not armed
};

namespace Soak {

// The library's own words in front of each batch that it sends.
constexpr int batchLevel = 4;
constexpr const char *batchTrace = "executing KavraSmbusHam request";

VirtualHost &VirtualHost::get() {
    static VirtualHost host;
    return host;
}

pl_timer *VirtualHost::nextDue( uint64_t limit ) const {
    pl_timer *next = nullptr;
    for ( pl_timer *timer : timers_ ) {
        if ( timer->due && *timer->due <= limit && ( !next || *timer->due < *next->due ) ) {
            next = timer;
        }
    }
    return next;
}

void VirtualHost::advanceTo( uint64_t milliseconds ) {
    while ( pl_timer *timer = nextDue( milliseconds ) ) {
        now_ = *timer->due;
        timer->due.reset(); // a timer fires once an arming
        timer->callback( timer->context );
        if ( fired ) {
            fired( timer->context == nullptr );
        }
    }
    now_ = milliseconds;
}

void VirtualHost::trace( int level, const char *format, va_list arguments ) {
    if ( level == batchLevel ) {
        transactions_ += strcmp( format, batchTrace ) == 0;
    } else if ( level == 0 && keepsFailures_ ) {
        std::array<char, 256> text;
        vsnprintf( text.data(), text.size(), format, arguments );
        lastFailure_ = text.data();
    }
}

pl_timer *VirtualHost::newTimer( void ( *callback )( void * ), void *context ) {
    return timers_.emplace_back( new pl_timer{ callback, context, std::nullopt } );
}

void VirtualHost::arm( pl_timer &timer, int period ) {
    timer.due = now_ + static_cast<uint64_t>( std::max( period, 0 ) );
}

void VirtualHost::remove( pl_timer *timer ) {
    std::erase( timers_, timer );
    delete timer;
}

} // namespace Soak

extern "C" void pl_trace( int level, const char *format, ... ) {
    va_list arguments;
    va_start( arguments, format );
    Soak::VirtualHost::get().trace( level, format, arguments );
    va_end( arguments );
}

extern "C" pl_timer *pl_timer_add( void ( *callback )( void * ), void *context ) {
    return Soak::VirtualHost::get().newTimer( callback, context );
}

extern "C" int pl_timer_set( pl_timer *timer, int period ) {
    Soak::VirtualHost::get().arm( *timer, period );
    return 0;
}

// In the place of libc's: the pauses behind raw accesses are virtual time too. Even one of 0 would
// cost more than the access.
extern "C" int usleep( useconds_t ) {
    return 0;
}

extern "C" void pl_timer_delete( pl_timer *timer ) {
    Soak::VirtualHost::get().remove( timer );
}
