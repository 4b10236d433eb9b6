#include "SmbusServer/MuxClearing.h"

#include <algorithm>
#include <string>

namespace SmbusServer {

using Outcome = MuxClearing::Outcome;

constexpr int attempts = 4;

// A plain error of the controller and a time-out are none, though some adapters have nothing else
// for an address that nobody answers at: a bus that hangs gives them too.
static bool isSilence( Cause cause ) {
    return cause == Cause::NoAcknowledge || cause == Cause::NoDevice;
}

static Cause attempt( Backend &below, const Operation &operation, bool briefly ) {
    std::string unread;
    Cause cause = below.perform( operation, unread );
    for ( int i = 1; i < attempts && mayPass( cause ) && !( briefly && isSilence( cause ) ); ++i ) {
        cause = below.perform( operation, unread );
    }
    return cause;
}

static Outcome releaseOnce( Backend &below, const Operation &deselect, Cause &cause ) {
    std::string channels;
    cause = below.perform( deselect, channels );
    if ( cause == Cause::None ) {
        return Outcome::Off;
    }
    if ( !mayPass( cause ) ) {
        return Outcome::Unreached;
    }
    // A read without a command gives the control register.
    Operation readControl = deselect;
    readControl.type = Smbus::READ;
    readControl.pec = false;
    const Cause probed = below.perform( readControl, channels );
    if ( probed == Cause::None && channels == std::string( 1, '\0' ) ) {
        return Outcome::Off;
    }
    // Where there is no receive byte the deselect alone has to tell.
    return isSilence( cause ) && ( isSilence( probed ) || probed == Cause::NotSupported )
               ? Outcome::Silent
               : Outcome::Refused;
}

static Outcome release( Backend &below, const Operation &deselect, bool briefly, Cause &cause ) {
    Outcome outcome = releaseOnce( below, deselect, cause );
    int more = briefly && outcome == Outcome::Silent ? 0 : attempts - 1;
    while ( more-- > 0 && ( outcome == Outcome::Silent || outcome == Outcome::Refused ) ) {
        const Outcome next = releaseOnce( below, deselect, cause );
        // A mux that answered once is there.
        outcome = next == Outcome::Silent ? outcome : next;
    }
    return outcome;
}

MuxClearing clearMux( Backend &below, const BusName &bus, const MuxPlace &place, bool briefly ) {
    const size_t last = place.steps.size() - 1;
    MuxClearing result{ .outcome = Outcome::Unreached };
    while ( result.step < last ) {
        const Operation select = place.steps[result.step].on( bus );
        result.cause = attempt( below, select, briefly );
        if ( result.cause != Cause::None ) {
            break;
        }
        ++result.step;
    }
    if ( result.step == last ) {
        result.outcome = release( below, place.steps[last].on( bus ), briefly, result.cause );
    }
    // The select that failed may have been taken all the same, unless nobody is there.
    for ( size_t step = std::min( result.step + 1, last ); step-- > 0; ) {
        const MuxPlace outer = place.onWay( step );
        const Cause cause = attempt( below, outer.steps.back().on( bus ), briefly );
        const bool absent = step == result.step && isSilence( result.cause ) && isSilence( cause );
        if ( cause != Cause::None && !absent ) {
            result.leftOpen.push_back( outer );
        }
    }
    return result;
}

} // namespace SmbusServer
