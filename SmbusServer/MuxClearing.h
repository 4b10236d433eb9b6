#pragma once

#include "SmbusServer/Backend.h"
#include "SmbusServer/MuxPlace.h"

#include <cstddef>
#include <vector>

namespace SmbusServer {

/// How telling a mux to let go ended.
struct MuxClearing {
    enum class Outcome {
        Off,
        Silent,   ///< nobody answers at its address: it is not there, or has no power
        Refused,  ///< it may have a channel on: it answers, or what went wrong does not tell
        Unreached ///< a mux in front of it does not select, or nobody gets at the chip at all
    };

    Outcome outcome = Outcome::Off;
    /// What failed, unless it is off.
    Cause cause = Cause::None;
    size_t step = 0; ///< of the place
    /// Muxes on the way that may have been selected for this and did not let go.
    std::vector<MuxPlace> leftOpen = {};
};

/// Tells a mux to let go, through the muxes in front of it, which let go again afterwards.
/// @param briefly one try is enough where nobody answers.
MuxClearing clearMux( Backend &below, const BusName &bus, const MuxPlace &place, bool briefly );

} // namespace SmbusServer
