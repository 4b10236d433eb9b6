#pragma once

#include "KavraGeneric/HostServices.h"

#include <cstdint>

namespace Component {

/// A hardware device with work of its own at each tick of a host timer. The driver makes the timer
/// with handlePollTimerCallback and `static_cast<PollingDevice *>( this )`, sets the period and
/// calls pollStart(); from then on each poll arms the timer again, until that fails.
template <typename HardwareDevice>
class PollingDevice : public HardwareDevice {
  public:
    virtual void pollCallback() = 0;

    static void handlePollTimerCallback( void *device ) {
        auto *self = static_cast<PollingDevice *>( device );
        pl_trace( 6, "pollCallbackWrapper" );
        try {
            self->pollCallback();
        } catch ( ... ) { // for want of memory: the next poll may have it
            self->arm();
            throw;
        }
        self->arm();
    }

  protected:
    /// Arms the timer for the first poll.
    /// @return false, after a trace, when the host has no timer or does not arm it
    bool pollStart() {
        pl_trace( 0, "setting polling interval to %ums", pollPeriod_ );
        return arm();
    }

    bool pollArmed_ = false;
    pl_timer *pollTimer_ = nullptr;
    uint32_t pollPeriod_ = 0; // in the unit of the host's timers

  private:
    bool arm() {
        if ( pollTimer_ && pl_timer_set( pollTimer_, static_cast<int>( pollPeriod_ ) ) == 0 ) {
            pollArmed_ = true;
            return true;
        }
        pl_trace( 0, "failed to set timer interval" );
        return false;
    }
};

} // namespace Component
