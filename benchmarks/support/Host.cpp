// The host's services for a benchmark: a trace that drops every line, and timers that never fire.
#include <PlatformLibrary/pl.h>

extern "C" {

void pl_trace( int, const char *, ... ) {}

pl_timer *pl_timer_add( void ( * )( void * ), void *context ) {
    return static_cast<pl_timer *>( context );
}

int pl_timer_set( pl_timer *, int ) {
    return 0;
}

void pl_timer_delete( pl_timer * ) {}
}
