#pragma once

#include "tests/soak/Device.h"

#include <PlatformLibrary/pl.h>

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>

namespace Soak {

/// Something that goes wrong on the wires or in the server, for the batches of one turn.
struct Fault {
    std::string line;                 ///< as the control socket takes it
    std::optional<pl_status> failure; ///< what a callback then fails with; none: it is not noticed
    bool ofSlot = false;              ///< a slot that cannot be identified is "not present" too

    /// @param disguise what this callback makes of any failure; PL_STATUS_OK: nothing else.
    bool explains( pl_status status, pl_status disguise ) const {
        return failure && ( status == *failure || ( ofSlot && status == PL_STATUS_NOT_PRESENT ) ||
                            ( disguise != PL_STATUS_OK && status == disguise ) );
    }
};

/// Lets something go wrong once in so many turns, and counts what that came to.
class Faults {
  public:
    Faults( Random &random, World &world, uint64_t oneTurnIn )
        : random_( random ), world_( world ), oneTurnIn_( oneTurnIn ) {}

    /// Starts each kind once, one after the other.
    /// @return null behind the last one.
    const Fault *startNext();
    /// Perhaps starts a fault for a turn of this device.
    /// @return null when nothing goes wrong.
    const Fault *startFor( const Device &device );
    /// Perhaps starts one that a poll survives: what fails a poll ends the process, so these pass
    /// with the server's tries.
    const Fault *startForPoll();
    /// Ends the fault.
    /// @return true when it was met.
    bool end();

    uint64_t started() const { return started_; }
    uint64_t met() const { return met_; }

  private:
    const Fault *start( Fault fault );
    std::string place();

    Random &random_;
    World &world_;
    uint64_t oneTurnIn_;
    Fault fault_;
    size_t next_ = 0;
    uint64_t started_ = 0;
    uint64_t met_ = 0;
};

} // namespace Soak
