#include "tests/faults/Host.h"

#include "tests/faults/Faults.h"

#include <PlatformLibrary/pl.h>

#include <cstdarg>
#include <cstdint>
#include <cstdio>

namespace {

struct Timer {
    void ( *callback )( void * );
    void *context;
    bool armed;
};
constexpr size_t mostTimers = 64;
Timer timers[mostTimers];
size_t timerCount = 0;

char lastTrace[512];

Timer *timerOf( pl_timer *handle ) {
    return reinterpret_cast<Timer *>( handle );
}

} // namespace

namespace Host {

bool tick( size_t index ) {
    if ( index >= timerCount ) {
        return false;
    }
    timers[index].armed = false;
    timers[index].callback( timers[index].context );
    return true;
}

bool isArmed( size_t index ) {
    return index < timerCount && timers[index].armed;
}

void forgetTimers() {
    timerCount = 0;
}

const char *lastLine() {
    return lastTrace;
}

} // namespace Host

extern "C" {

void pl_trace( int level, const char *format, ... ) {
    const Faults::Unwatched own;
    char text[sizeof lastTrace];
    va_list arguments;
    va_start( arguments, format );
    vsnprintf( text, sizeof text, format, arguments );
    va_end( arguments );
    if ( level <= 3 ) {
        snprintf( lastTrace, sizeof lastTrace, "%s", text );
    }
}

pl_timer *pl_timer_add( void ( *callback )( void * ), void *context ) {
    if ( timerCount == mostTimers || Faults::fails( Faults::Kind::hostService ) ) {
        return nullptr;
    }
    timers[timerCount] = { callback, context, false };
    return reinterpret_cast<pl_timer *>( &timers[timerCount++] );
}

int pl_timer_set( pl_timer *timer, int ) {
    if ( Faults::fails( Faults::Kind::hostService ) ) {
        return -1;
    }
    timerOf( timer )->armed = true;
    return 0;
}

void pl_timer_delete( pl_timer *timer ) {
    if ( timerOf( timer ) == &timers[timerCount - 1] ) {
        --timerCount;
    }
}

} // extern "C"
