// Reads a cached transceiver signal a number of times, for a tool that counts instructions below
// the callback.
#include "benchmarks/support/AnsweringServer.h"
#include "benchmarks/support/Cages.h"

#include <cstdlib>
#include <deque>
#include <PlatformLibrary/pl.h>

int main( int argumentCount, char **arguments ) {
    const int reads = argumentCount > 1 ? atoi( arguments[1] ) : 1'000;
    const AnsweringServer server;
    const std::string board = boardOfCages();
    if ( pl_xcvr_init( board.c_str() ) != PL_STATUS_OK ) {
        return EXIT_FAILURE;
    }
    std::deque<std::string> texts; // devices keep pointers to theirs
    pl_xcvr *cage = nullptr;
    int value = 0;
    for ( int port = 1; port <= 32; ++port ) {
        texts.push_back( qsfpArguments( port ) );
        cage = pl_xcvr_add( texts.back().c_str() );
        cage->ops->u.qsfp.getPresence( cage );
        cage->ops->u.qsfp.getInterrupt( cage, &value );
    }
    for ( int i = 0; i < reads; ++i ) {
        if ( cage->ops->u.qsfp.getReset( cage, &value ) != PL_STATUS_OK ) {
            return EXIT_FAILURE;
        }
    }
    return EXIT_SUCCESS;
}
