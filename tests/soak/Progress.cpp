#include "tests/soak/Progress.h"

#include <cinttypes>
#include <cstdio>
#include <unistd.h>

namespace Soak {

double Progress::seconds() const {
    return std::chrono::duration<double>( Clock::now() - start_ ).count();
}

static bool onTerminal() {
    return isatty( STDERR_FILENO ) != 0;
}

void Progress::show( double share, uint64_t done ) {
    constexpr double pause = 60;
    if ( share <= 0 || ( !onTerminal() && seconds() - lastLine_ < pause ) ) {
        return;
    }
    lastLine_ = seconds();
    const double left = lastLine_ / share * ( 1 - share );
    fprintf( stderr, "%ssoak: %4.1f %%, %" PRIu64 " done, about %.0f s left%s",
             onTerminal() ? "\r" : "", share * 100, done, left, onTerminal() ? " " : "\n" );
}

void Progress::end() const {
    if ( onTerminal() ) {
        fputs( "\r\033[K", stderr );
    }
}

} // namespace Soak
