// System LED CPLD: the status lamp, one byte for each state it can show.
//
//     0x41   0x80 warning, 0x81 bad, 0x82 good, 0x83 dark, 0x02 the lit half of a blink
#include "KavraGeneric/Drivers/Vunda/VundaTSystemLedCPLD.h"

#include "KavraGeneric/Drivers/Drivers.h"
#include "KavraGeneric/Ham/Ham.h"
#include "KavraGeneric/HostServices.h"

#include <string>

namespace Drivers {

namespace {

constexpr uint8_t statusRegister = 0x41; // the only one with a lamp

struct SettingByte {
    pl_led_status setting;
    uint8_t content;
};
// Inactive has no row: the lamp refuses it.
constexpr SettingByte settingBytes[] = {
    { PL_LED_OFF, 0x83 }, { PL_LED_UNKNOWN, 0x83 }, { PL_LED_GOOD, 0x82 }, { PL_LED_WARNING, 0x80 },
    { PL_LED_BAD, 0x81 }, { PL_LED_BEACON, 0x82 }, // the blink timer does the rest
};

constexpr uint8_t blinkPhases[] = { 0x82, 0x02 };

const SettingByte *byteOf( pl_led_status setting ) {
    for ( const SettingByte &row : settingBytes ) {
        if ( row.setting == setting ) {
            return &row;
        }
    }
    return nullptr;
}

uint8_t lowByte( const std::string &text ) {
    return static_cast<uint8_t>( std::stoi( text ) );
}

} // namespace

VundaTSystemLedCPLD::StatusLed::StatusLed( VundaTSystemLedCPLD *device, uint8_t id )
    : device_( device ), id_( id ), reg_( statusRegister ) {
    blink_ = true;
}

pl_status VundaTSystemLedCPLD::StatusLed::show( uint8_t content ) {
    return device_->access().write8( reg_, content, false );
}

pl_status VundaTSystemLedCPLD::StatusLed::setLightSetting( pl_led_status setting ) {
    if ( setting <= PL_LED_BEACON ) {
        pl_trace( 6, "setting CPLD System Diag/LOC Led %hhu to %s", id_,
                  getLedStatusString( setting ) );
    }
    if ( blinking_ ) {
        if ( setting == PL_LED_BEACON ) {
            return PL_STATUS_OK;
        }
        notifyList_.remove( this );
        blinking_ = false;
    }
    const SettingByte *row = byteOf( setting );
    if ( !row ) {
        pl_trace( 0, "led %hhu was given an unexpected setting %d", id_,
                  static_cast<int>( setting ) );
        return PL_STATUS_INVALID;
    }
    if ( setting == PL_LED_BEACON ) {
        notifyOnBlink( this );
        blinking_ = true;
    }
    const pl_status status = show( row->content );
    if ( status != PL_STATUS_OK ) {
        pl_trace( 6, "Setting status for VundaTStatusLed %hhu failed.", id_ );
    }
    return status;
}

bool VundaTSystemLedCPLD::StatusLed::handleBlinkTimer( bool phase ) {
    if ( show( blinkPhases[phase] ) != PL_STATUS_OK ) {
        pl_trace( 0, "Error: failed to toggle led %hhu for blinking", id_ );
    }
    return true;
}

Component::LogicalDevice::Led *VundaTSystemLedCPLD::newLed( const DriverArgs &args ) {
    const std::string &regText = args.driverArgs.at( "reg" );
    const std::string &idText = args.driverArgs.at( "id" );
    const uint8_t reg = lowByte( regText );
    const uint8_t id = lowByte( idText );
    if ( reg != statusRegister ) {
        pl_trace( 0, "Error: failed to find driverArg for VundaTSystemLedCpld::newLed" );
        return nullptr;
    }
    pl_trace( 5, "Creating new VundaTSystemLedCpld Status LED with id %hhu", id );
    return new StatusLed( this, id );
}

Component::DeviceBase *VundaTSystemLedCPLD::create( const DriverArgs &, Ham::Ham * ) {
    pl_trace( 5, "Creating VundaTSystemLedCPLD device" );
    return new VundaTSystemLedCPLD;
}

} // namespace Drivers
