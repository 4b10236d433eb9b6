// Transceiver LED CPLD: the lamps of the two SFP+ ports, two bits each in register 0x49.
//
//     7                6                3                 2                 others
//     Ethernet34 lit   Ethernet33 lit   Ethernet34 other  Ethernet33 other  not ours
//                                       colour            colour
#include "KavraGeneric/Drivers/Vunda/VundaTXcvrLedCPLD.h"

#include "KavraGeneric/Assert.h"
#include "KavraGeneric/Drivers/Drivers.h"
#include "KavraGeneric/Ham/Ham.h"
#include "KavraGeneric/HostServices.h"

namespace Drivers {

namespace {

constexpr uint8_t ledRegister = 0x49;

struct Lamp {
    const char *name;
    uint8_t firstBit;
    uint8_t secondBit;
};
constexpr Lamp lamps[] = {
    { "Ethernet33", 6, 2 },
    { "Ethernet34", 7, 3 },
};

constexpr int asItIs = -1;

struct SettingBits {
    pl_led_status setting;
    int first;
    int second;
};
// Inactive has no row: the lamp refuses it.
constexpr SettingBits settingBits[] = {
    { PL_LED_OFF, 0, asItIs },
    { PL_LED_UNKNOWN, 0, asItIs },
    { PL_LED_GOOD, 1, 0 },
    { PL_LED_WARNING, 1, 1 },
    { PL_LED_BAD, 1, 1 },
    { PL_LED_BEACON, 0, asItIs }, // dark at first; the blink timer does the rest
};

const SettingBits *bitsOf( pl_led_status setting ) {
    for ( const SettingBits &bits : settingBits ) {
        if ( bits.setting == setting ) {
            return &bits;
        }
    }
    return nullptr;
}

} // namespace

pl_status VundaTXcvrLedCPLD::setRegisterBit( unsigned char bit, int value ) {
    access().prepare();
    const Ham::ResponseId id = access().addRead8( ledRegister );
    if ( access().execute() != PL_STATUS_OK ) {
        pl_trace( 0, "Failed to poll information for VundaTXcvrLedCPLD" );
        return PL_STATUS_IO_ERROR;
    }
    const uint8_t content = access().get8( id );
    const unsigned mask = 1U << ( bit % 32 );
    const auto changed = static_cast<uint8_t>( value ? content | mask : content & ~mask );
    const pl_status status = access().write8( ledRegister, changed, false );
    if ( status != PL_STATUS_OK ) {
        // Register and bit stand in each other's place: who reads the logs knows.
        pl_trace( 0, "Set value %d bit %hhu for reg %hhu failed.", value, ledRegister, bit );
    }
    return status;
}

VundaTXcvrLedCPLD::PortLed::PortLed( VundaTXcvrLedCPLD *device, std::string name, uint8_t firstBit,
                                     uint8_t secondBit )
    : device_( device ), name_( std::move( name ) ), firstBit_( firstBit ),
      secondBit_( secondBit ) {
    blink_ = true;
}

pl_status VundaTXcvrLedCPLD::PortLed::setFirstBit( int value ) {
    return device_->setRegisterBit( firstBit_, value );
}

// The second is written also when the first has failed.
pl_status VundaTXcvrLedCPLD::PortLed::setBothBits( int first, int second ) {
    const pl_status firstStatus = setFirstBit( first );
    const pl_status secondStatus = device_->setRegisterBit( secondBit_, second );
    return firstStatus != PL_STATUS_OK ? firstStatus : secondStatus;
}

pl_status VundaTXcvrLedCPLD::PortLed::setLightSetting( pl_led_status setting ) {
    if ( setting <= PL_LED_BEACON ) {
        pl_trace( 5, "setting CPLD SFP+ Led %s to %s", name_.c_str(),
                  getLedStatusString( setting ) );
    }
    if ( blinking_ ) {
        if ( setting == PL_LED_BEACON ) {
            return PL_STATUS_OK;
        }
        notifyList_.remove( this );
        blinking_ = false;
    }
    const SettingBits *bits = bitsOf( setting );
    if ( !bits ) {
        pl_trace( 0, "led %s was given an unexpected setting %d", name_.c_str(),
                  static_cast<int>( setting ) );
        return PL_STATUS_INVALID;
    }
    if ( setting == PL_LED_BEACON ) {
        notifyOnBlink( this );
        blinking_ = true;
    }
    const pl_status status = bits->second == asItIs ? setFirstBit( bits->first )
                                                    : setBothBits( bits->first, bits->second );
    if ( status != PL_STATUS_OK ) {
        pl_trace( 0, "Setting light status for VundaTXcvrLedCPLD LED %s failed.", name_.c_str() );
    }
    return status;
}

bool VundaTXcvrLedCPLD::PortLed::handleBlinkTimer( bool phase ) {
    const pl_status status = phase ? setBothBits( 1, 1 ) : setFirstBit( 0 );
    if ( status != PL_STATUS_OK ) {
        pl_trace( 0, "Error: failed to toggle led %s for blinking", name_.c_str() );
    }
    return true;
}

Component::LogicalDevice::Led *VundaTXcvrLedCPLD::newLed( const DriverArgs &args ) {
    const std::string &name = args.driverArgs.at( "ledName" );
    for ( const Lamp &lamp : lamps ) {
        if ( name == lamp.name ) {
            return new PortLed( this, name, lamp.firstBit, lamp.secondBit );
        }
    }
    assert( 0 && "Unexpected LED name" );
    return nullptr;
}

Component::DeviceBase *VundaTXcvrLedCPLD::create( const DriverArgs &, Ham::Ham * ) {
    pl_trace( 5, "Creating VundaTXcvrLedCPLD device" );
    return new VundaTXcvrLedCPLD;
}

} // namespace Drivers
