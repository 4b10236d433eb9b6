#include "tests/support/FakeHost.h"

#include <algorithm>
#include <cstdarg>
#include <cstdio>

FakeHost &FakeHost::get() {
    static FakeHost host;
    return host;
}

void FakeHost::reset() {
    *this = FakeHost();
}

bool FakeHost::traced( int level, std::string_view text ) const {
    return std::any_of( lines.begin(), lines.end(), [&]( const Line &line ) {
        return line.level == level && line.text == text;
    } );
}

std::vector<std::string> FakeHost::texts( int level ) const {
    std::vector<std::string> found;
    for ( const Line &line : lines ) {
        if ( line.level == level ) {
            found.push_back( line.text );
        }
    }
    return found;
}

void FakeHost::tick( Timer &timer ) {
    timer.armed = false;
    timer.callback( timer.context );
}

// A handle is the address of the Timer: the library never looks behind it.
static FakeHost::Timer *fromHandle( pl_timer *handle ) {
    return reinterpret_cast<FakeHost::Timer *>( handle );
}

extern "C" void pl_trace( int level, const char *format, ... ) {
    FakeHost &host = FakeHost::get();
    if ( host.traceDropped ) {
        return;
    }
    va_list arguments;
    va_start( arguments, format );
    char *text = nullptr;
    const int length = vasprintf( &text, format, arguments );
    va_end( arguments );
    if ( length >= 0 ) {
        host.lines.push_back( { level, std::string( text, static_cast<size_t>( length ) ) } );
        free( text );
    }
}

extern "C" pl_timer *pl_timer_add( void ( *callback )( void * ), void *context ) {
    FakeHost &host = FakeHost::get();
    if ( host.timerAddFails ) {
        return nullptr;
    }
    host.timers.push_back( std::make_unique<FakeHost::Timer>() );
    *host.timers.back() = { callback, context, {}, false, false };
    return reinterpret_cast<pl_timer *>( host.timers.back().get() );
}

extern "C" int pl_timer_set( pl_timer *handle, int period ) {
    if ( FakeHost::get().timerSetFails ) {
        return -1;
    }
    FakeHost::Timer *timer = fromHandle( handle );
    timer->periods.push_back( period );
    timer->armed = true;
    return 0;
}

extern "C" void pl_timer_delete( pl_timer *handle ) {
    fromHandle( handle )->deleted = true;
    fromHandle( handle )->armed = false;
}
