#include "KavraGeneric/Components/Led.h"

#include "KavraGeneric/Assert.h"
#include "KavraGeneric/Components/AddDevice.h"
#include "KavraGeneric/HostServices.h"

#include <cstddef>
#include <iterator>

namespace Component::LogicalDevice {

pl_timer *Led::blinkTimer_ = nullptr;
const int Led::blinkPeriod_ = 1000;
bool Led::blinkStatus_ = false;
std::list<Led *> Led::notifyList_;

Led::Led() : host_( &ops_, this ) {}

Led::~Led() = default;

void Led::createBlinkTimer() {
    if ( blinkTimer_ ) {
        return;
    }
    pl_trace( 0, "creating unique led blink timer" );
    blinkTimer_ = pl_timer_add( handleBlinkTimerCallback, nullptr );
    if ( !blinkTimer_ ) {
        pl_trace( 0, "failed to create blink timer" );
    }
    assert( blinkTimer_ );
}

void Led::notifyOnBlink( Led *led ) {
    pl_trace( 4, "%s() adding led to blink notification list", "notifyOnBlink" );
    assert( blinkTimer_ );
    notifyList_.push_back( led );
    if ( notifyList_.size() == 1 ) {
        pl_timer_set( blinkTimer_, blinkPeriod_ );
    }
}

void Led::handleBlinkTimerCallback( void * ) {
    pl_trace( 4, "%s() led blink timer hit notifying %zu leds", "handleBlinkTimerCallback",
              notifyList_.size() );
    const auto endTick = [] {
        if ( !notifyList_.empty() ) {
            pl_timer_set( blinkTimer_, blinkPeriod_ );
        }
        blinkStatus_ = !blinkStatus_;
    };
    try {
        for ( auto led = notifyList_.begin(); led != notifyList_.end(); ) {
            led = ( *led )->handleBlinkTimer( blinkStatus_ ) ? std::next( led )
                                                             : notifyList_.erase( led );
        }
    } catch ( ... ) { // for want of memory: the next tick may have it
        endTick();
        throw;
    }
    endTick();
}

const char *Led::getLedStatusString( pl_led_status status ) {
    static const char *const strs[] = { "Off",      "Good",    "Warning", "Bad",
                                        "Inactive", "Unknown", "Beacon" };
    const auto index = static_cast<unsigned>( status );
    ASSERT_TEXT( index < std::size( strs ),
                 "( unsigned )status < sizeof ( strs ) / sizeof ( *strs )" );
    return strs[index];
}

pl_status Led::setLightSettingCallback( pl_led *led, pl_led_status setting ) {
    pl_trace( 4, "%s(%p, %d)", "setLightSettingCallback", static_cast<const void *>( led ),
              static_cast<int>( setting ) );
    return HostRecord<pl_led, Led>::deviceOf( led ).setLightSetting( setting );
}

const pl_led_ops Led::ops_ = {
    .size = sizeof( pl_led_ops ),
    .reserved = 0,
    .setLightSetting = setLightSettingCallback,
};
static_assert( sizeof( pl_led_ops ) == 16 );
static_assert( offsetof( pl_led_ops, setLightSetting ) == 8 );

} // namespace Component::LogicalDevice

pl_led *pl_led_add( const char *arguments ) {
    auto *led = Component::addDevice( arguments, 0, "newLed", &Component::DeviceBase::newLed );
    if ( !led ) {
        return nullptr;
    }
    if ( led->mayBlink() ) {
        Component::LogicalDevice::Led::createBlinkTimer();
    }
    return led->record();
}
