#pragma once

#include "tests/KavraGeneric/Drivers/Vunda/VundaFixture.h"

#include <string>

/// What the host does with a lamp.
class LampTest : public VundaTest {
  protected:
    /// Settings that no host should ask for.
    static constexpr auto aboveAll = static_cast<pl_led_status>( 7 );
    static constexpr auto farAbove = static_cast<pl_led_status>( 0xFFFF'FFFF );

    static pl_led *newLed( const std::string &driver, const std::string &driverArgs ) {
        return pl_led_add( arguments( driver, driverArgs ) );
    }
    /// Adds a lamp and forgets what that took.
    void addLed( const std::string &driver, const std::string &driverArgs ) {
        led = newLed( driver, driverArgs );
        forgetAll();
    }

    pl_status set( pl_led_status setting ) { return led->ops->setLightSetting( led, setting ); }

    static FakeHost::Timer &blinkTimer() { return *host().timers.at( 0 ); }
    static void tick() { host().tick( blinkTimer() ); }
    /// How many lamps a tick calls.
    static size_t blinking() {
        host().lines.clear();
        tick();
        const std::string first = host().lines.front().text;
        return std::stoul( first.substr( first.find( "notifying" ) + 10 ) );
    }

    pl_led *led = nullptr;
};
