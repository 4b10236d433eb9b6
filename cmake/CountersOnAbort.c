/* Part of each counted binary of a coverage build: a process that an assertion ends writes its
 * counters too. Without it the failing side of an assertion, and all that led there, would count as
 * never run, however many tests see the assertion's text. */
#include <signal.h>
#include <stddef.h>

extern void __gcov_dump( void );
extern __attribute__( ( visibility( "hidden" ) ) ) const int countersOnAbort;

/* The linker is asked for this name where the code sits in an archive. */
const int countersOnAbort = 1;

static void ( *before )( int );

/* Each binary of a process has counters and a handler of its own: the last one ends the process. */
static void writeCounters( int signalNumber ) {
    __gcov_dump();
    if ( before != SIG_DFL && before != SIG_IGN && before != SIG_ERR ) {
        before( signalNumber );
        return;
    }
    signal( signalNumber, SIG_DFL );
    raise( signalNumber );
}

__attribute__( ( constructor ) ) static void watchForAbort( void ) {
    before = signal( SIGABRT, writeCounters );
}
