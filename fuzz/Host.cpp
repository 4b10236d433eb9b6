#include "fuzz/Host.h"

#include <PlatformLibrary/pl.h>

#include <cstdarg>
#include <cstdio>
#include <memory>
#include <vector>

namespace {

struct Timer {
    void ( *callback )( void * );
    void *context;
    bool armed;
};

std::vector<std::unique_ptr<Timer>> timers;

Timer *fromHandle( pl_timer *handle ) {
    return reinterpret_cast<Timer *>( handle );
}

} // namespace

void Fuzz::Host::tick() {
    for ( size_t i = 0; i < timers.size(); ++i ) { // a callback may add another
        if ( timers[i]->armed ) {
            timers[i]->armed = false;
            timers[i]->callback( timers[i]->context );
        }
    }
}

void Fuzz::Host::reset() {
    timers.clear();
}

extern "C" void pl_trace( int, const char *format, ... ) {
    char text[256];
    va_list arguments;
    va_start( arguments, format );
    vsnprintf( text, sizeof text, format, arguments );
    va_end( arguments );
}

extern "C" pl_timer *pl_timer_add( void ( *callback )( void * ), void *context ) {
    timers.push_back( std::make_unique<Timer>( Timer{ callback, context, false } ) );
    return reinterpret_cast<pl_timer *>( timers.back().get() );
}

extern "C" int pl_timer_set( pl_timer *handle, int ) {
    fromHandle( handle )->armed = true;
    return 0;
}

extern "C" void pl_timer_delete( pl_timer *handle ) {
    fromHandle( handle )->armed = false;
}

extern "C" void pl_fd_watcher_delete( pl_fd_watcher * ) {}
