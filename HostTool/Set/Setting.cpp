#include "HostTool/Set/Setting.h"

#include "HostTool/Host/AbortNote.h"
#include "HostTool/Host/HostServices.h"
#include "HostTool/Host/Provides.h"

#include <algorithm>
#include <exception>

namespace HostTool {

namespace {

struct SettingRow {
    Setting setting;
    DeviceClass deviceClass;
    const char *missing; ///< said of a device of the class that has no such operation
    bool ( *isProvided )( void *record );
    pl_status ( *run )( void *record, int value );
    std::string ( *text )( int value );
};

bool setsSpeed( void *record ) {
    return provides( static_cast<pl_fan *>( record )->ops, &pl_fan_ops::setRpm );
}

pl_status setSpeed( void *record, int value ) {
    auto *fan = static_cast<pl_fan *>( record );
    return fan->ops->setRpm( fan, value );
}

bool setsLight( void *record ) {
    return provides( static_cast<pl_led *>( record )->ops, &pl_led_ops::setLightSetting );
}

pl_status setLight( void *record, int value ) {
    auto *led = static_cast<pl_led *>( record );
    return led->ops->setLightSetting( led, static_cast<pl_led_status>( value ) );
}

bool setsReset( void *record ) {
    const pl_xcvr_ops *ops = static_cast<pl_xcvr *>( record )->ops;
    return ops->type == PL_XCVR_QSFP && provides( &ops->u.qsfp, &pl_qsfp_ops::setReset );
}

pl_status setReset( void *record, int value ) {
    auto *xcvr = static_cast<pl_xcvr *>( record );
    return xcvr->ops->u.qsfp.setReset( xcvr, value );
}

bool setsTxDisable( void *record ) {
    const pl_xcvr_ops *ops = static_cast<pl_xcvr *>( record )->ops;
    return ops->type == PL_XCVR_SFP && provides( &ops->u.sfp, &pl_sfp_ops::setTxDisable );
}

pl_status setTxDisable( void *record, int value ) {
    auto *xcvr = static_cast<pl_xcvr *>( record );
    return xcvr->ops->u.sfp.setTxDisable( xcvr, value );
}

bool setsLine( void *record ) {
    const pl_gpio_ops *ops = static_cast<pl_gpio *>( record )->ops;
    return provides( ops, &pl_gpio_ops::bitSet ) && provides( ops, &pl_gpio_ops::bitClear );
}

pl_status setLine( void *record, int value ) {
    auto *gpio = static_cast<pl_gpio *>( record );
    return value != 0 ? gpio->ops->bitSet( gpio ) : gpio->ops->bitClear( gpio );
}

std::string onOrOff( int value ) {
    return value != 0 ? "on" : "off";
}

const SettingRow rows[] = {
    { Setting::fanSpeed, DeviceClass::fan, "its speed cannot be set", setsSpeed, setSpeed,
      []( int value ) { return std::to_string( value ) + " rpm"; } },
    { Setting::light, DeviceClass::led, "its light cannot be set", setsLight, setLight,
      []( int value ) { return lightNames()[static_cast<size_t>( value )]; } },
    { Setting::reset, DeviceClass::xcvr, "it is no QSFP cage and has no reset", setsReset, setReset,
      []( int value ) { return "reset " + onOrOff( value ); } },
    { Setting::txDisable, DeviceClass::xcvr,
      "it is no SFP cage and has no transmitter to switch off", setsTxDisable, setTxDisable,
      []( int value ) { return "txdisable " + onOrOff( value ); } },
    { Setting::line, DeviceClass::gpio, "the line cannot be set", setsLine, setLine,
      []( int value ) { return std::to_string( value ); } },
};

bool wasPolled( const Device &device ) {
    for ( size_t i = 0; i < device.readings.size(); ++i ) {
        if ( device.row->columns[i].isPolled && device.readings[i].hasValue() ) {
            return true;
        }
    }
    return false;
}

const SettingRow &rowOf( Setting setting ) {
    return *std::find_if( std::begin( rows ), std::end( rows ),
                          [=]( const SettingRow &each ) { return each.setting == setting; } );
}

} // namespace

std::string whyNot( const Device &device, Setting setting ) {
    const SettingRow &row = rowOf( setting );
    const std::string name = "'" + device.entry->name + "'";
    if ( device.entry->deviceClass != row.deviceClass ) {
        return name + " is a " + nameOf( device.entry->deviceClass ) + ", not a " +
               nameOf( row.deviceClass );
    }
    if ( !device.record ) {
        return name + ": " + device.refusal;
    }
    return row.isProvided( device.record ) ? "" : name + ": " + row.missing;
}

std::string whyNotYet( Setting setting, const std::vector<const Device *> &cages ) {
    if ( setting != Setting::reset && setting != Setting::txDisable ) {
        return "";
    }
    const auto unknown = std::find_if( cages.begin(), cages.end(), []( const Device *each ) {
        return each->record && !wasPolled( *each );
    } );
    return unknown == cages.end()
               ? ""
               : "the library has not polled '" + ( *unknown )->entry->name +
                     "' yet: the bits of other cages in the register would become 0";
}

Outcome tell( const Device &device, const Order &order ) {
    const AbortNote note( "while setting '" + device.entry->name + "' (" + device.entry->place +
                          ")" );
    HostServices::get().forgetLines();
    try {
        const pl_status status = rowOf( order.setting ).run( device.record, order.value );
        return { status, status == PL_STATUS_OK ? "" : Reading::failed( status ).reason };
    } catch ( const std::exception &exception ) {
        return { PL_STATUS_FAILED, printable( exception.what() ) };
    }
}

const std::vector<std::string> &lightNames() {
    static const std::vector<std::string> names = { "off",      "good",    "warning", "bad",
                                                    "inactive", "unknown", "beacon" };
    return names;
}

std::string textOf( const Order &order ) {
    return rowOf( order.setting ).text( order.value );
}

} // namespace HostTool
