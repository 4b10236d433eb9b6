#pragma once

#include "KavraGeneric/HostServices.h"

#include <cstdint>

namespace Component {

/// A hardware device with work of its own at each tick of a host timer. The driver makes the timer
/// with handlePollTimerCallback and `static_cast<PollingDevice *>( this )`, and arms it first; from
/// then on each poll arms it again, until that fails.
template <typename HardwareDevice>
class PollingDevice : public HardwareDevice {
  public:
    virtual void pollCallback() = 0;

    static void handlePollTimerCallback( void *device ) {
        auto *self = static_cast<PollingDevice *>( device );
        pl_trace( 6, "pollCallbackWrapper" );
        self->pollCallback();
        if ( pl_timer_set( self->pollTimer_, static_cast<int>( self->pollPeriod_ ) ) == 0 ) {
            self->pollArmed_ = true;
        } else {
            pl_trace( 0, "failed to set timer interval" );
        }
    }

  protected:
    bool pollArmed_ = false;
    pl_timer *pollTimer_ = nullptr;
    uint32_t pollPeriod_ = 0; // in the unit of the host's timers
};

} // namespace Component
