#pragma once

#include "KavraGeneric/Components/HostRecord.h"

#include <PlatformLibrary/pl.h>

#include <list>

namespace Component::LogicalDevice {

/// A lamp. All lamps that blink share one host timer and one phase.
class Led {
  public:
    Led();
    Led( const Led & ) = delete;
    Led &operator=( const Led & ) = delete;
    virtual ~Led();

    /// Shows one phase of a blinking setting. @return false when this lamp no longer blinks.
    virtual bool handleBlinkTimer( bool phase ) = 0;
    virtual pl_status setLightSetting( pl_led_status setting ) = 0;

    pl_led *record() { return &host_.record; }
    bool mayBlink() const { return blink_; }

    /// Makes the shared timer, unarmed, unless it is there. Asserts that the host gave one.
    static void createBlinkTimer();
    /// Has a lamp called at every tick until it returns false, and arms the timer for the first
    /// one. A lamp that is registered twice is called twice. Asserts that the timer is there.
    static void notifyOnBlink( Led *led );
    static void handleBlinkTimerCallback( void *context );
    /// Name of a setting, for a person. Asserts a setting of the seven.
    static const char *getLedStatusString( pl_led_status status );

    static pl_status setLightSettingCallback( pl_led *led, pl_led_status setting );
    static const pl_led_ops ops_;

  private:
    HostRecord<pl_led, Led> host_;

  protected:
    bool blink_ = false; ///< this lamp may blink

    static pl_timer *blinkTimer_;
    static const int blinkPeriod_; // milliseconds
    static bool blinkStatus_;      // phase of the next tick
    static std::list<Led *> notifyList_;
};

} // namespace Component::LogicalDevice
