#include "HostTool/Explain/Callbacks.h"

#include "HostTool/Host/Provides.h"

#include <array>
#include <cstdlib>
#include <memory>

namespace HostTool::Explain {

namespace {

/// Adds a slot that reads one value.
/// @return where each call leaves the value; it starts with what is given.
template <class Ops, class Record, class Value>
std::shared_ptr<Value> addReading( Callbacks &callbacks, const char *name, Record *record,
                                   const Ops *ops, pl_status ( *Ops::*slot )( Record *, Value * ),
                                   Value start = {} ) {
    auto value = std::make_shared<Value>( start );
    if ( provides( ops, slot ) ) {
        callbacks.readings.push_back(
            { name, [=] { return ( ops->*slot )( record, value.get() ); } } );
    }
    return value;
}

/// Adds a slot that takes a value, which is the one that was read.
template <class Ops, class Record>
void addOrder( Callbacks &callbacks, const char *name, Record *record, const Ops *ops,
               pl_status ( *Ops::*slot )( Record *, int ), const std::shared_ptr<int> &value ) {
    if ( provides( ops, slot ) ) {
        callbacks.orders.push_back( { name, [=] { return ( ops->*slot )( record, *value ); } } );
    }
}

Callbacks ofTempSensor( void *record ) {
    auto *sensor = static_cast<pl_temp_sensor *>( record );
    Callbacks callbacks;
    addReading( callbacks, "getTemperature", sensor, sensor->ops,
                &pl_temp_sensor_ops::getTemperature );
    return callbacks;
}

Callbacks ofFan( void *record ) {
    constexpr int someSpeed = 10000; // for a fan whose speed cannot be read
    auto *fan = static_cast<pl_fan *>( record );
    const pl_fan_ops *ops = fan->ops;
    Callbacks callbacks;
    if ( provides( ops, &pl_fan_ops::debugInfo ) ) {
        callbacks.readings.push_back( { "debugInfo", [=] {
                                           char *text = nullptr;
                                           const pl_status status = ops->debugInfo( fan, &text );
                                           free( text );
                                           return status;
                                       } } );
    }
    const auto speed = addReading( callbacks, "getRpm", fan, ops, &pl_fan_ops::getRpm, someSpeed );
    addOrder( callbacks, "setRpm", fan, ops, &pl_fan_ops::setRpm, speed );
    return callbacks;
}

Callbacks ofPsu( void *record ) {
    auto *psu = static_cast<pl_psu *>( record );
    const pl_psu_ops *ops = psu->ops;
    Callbacks callbacks;
    addReading( callbacks, "get_power_ok", psu, ops, &pl_psu_ops::get_power_ok );
    addReading( callbacks, "get_input_voltage", psu, ops, &pl_psu_ops::get_input_voltage );
    addReading( callbacks, "get_input_current", psu, ops, &pl_psu_ops::get_input_current );
    addReading( callbacks, "get_input_power", psu, ops, &pl_psu_ops::get_input_power );
    addReading( callbacks, "get_output_voltage", psu, ops, &pl_psu_ops::get_output_voltage );
    addReading( callbacks, "get_output_current", psu, ops, &pl_psu_ops::get_output_current );
    addReading( callbacks, "get_output_power", psu, ops, &pl_psu_ops::get_output_power );
    return callbacks;
}

Callbacks ofSlot( void *record ) {
    auto *slot = static_cast<pl_slot *>( record );
    Callbacks callbacks;
    if ( provides( slot->ops, &pl_slot_ops::getPresence ) ) {
        callbacks.readings.push_back( { "getPresence", [=] {
                                           char *text = nullptr;
                                           const pl_status status =
                                               slot->ops->getPresence( slot, &text );
                                           free( text );
                                           return status;
                                       } } );
    }
    return callbacks;
}

template <class Ops>
void addPresence( Callbacks &callbacks, pl_xcvr *xcvr, const Ops *ops ) {
    if ( provides( ops, &Ops::getPresence ) ) {
        callbacks.readings.push_back(
            { "getPresence", [=]() -> pl_status { return ops->getPresence( xcvr ); } } );
    }
}

Callbacks ofSfp( pl_xcvr *xcvr ) {
    const pl_sfp_ops *ops = &xcvr->ops->u.sfp;
    Callbacks callbacks;
    addPresence( callbacks, xcvr, ops );
    addReading( callbacks, "getTxFault", xcvr, ops, &pl_sfp_ops::getTxFault );
    addReading( callbacks, "getRxLos", xcvr, ops, &pl_sfp_ops::getRxLos );
    const auto disabled =
        addReading( callbacks, "getTxDisable", xcvr, ops, &pl_sfp_ops::getTxDisable );
    addOrder( callbacks, "setTxDisable", xcvr, ops, &pl_sfp_ops::setTxDisable, disabled );
    return callbacks;
}

Callbacks ofQsfp( pl_xcvr *xcvr ) {
    const pl_qsfp_ops *ops = &xcvr->ops->u.qsfp;
    Callbacks callbacks;
    addPresence( callbacks, xcvr, ops );
    const auto selected = addReading( callbacks, "getModSel", xcvr, ops, &pl_qsfp_ops::getModSel );
    const auto lowPower = addReading( callbacks, "getLpMode", xcvr, ops, &pl_qsfp_ops::getLpMode );
    const auto inReset = addReading( callbacks, "getReset", xcvr, ops, &pl_qsfp_ops::getReset );
    addReading( callbacks, "getInterrupt", xcvr, ops, &pl_qsfp_ops::getInterrupt );
    addOrder( callbacks, "setModSel", xcvr, ops, &pl_qsfp_ops::setModSel, selected );
    addOrder( callbacks, "setLpMode", xcvr, ops, &pl_qsfp_ops::setLpMode, lowPower );
    addOrder( callbacks, "setReset", xcvr, ops, &pl_qsfp_ops::setReset, inReset );
    return callbacks;
}

Callbacks ofXcvr( void *record ) {
    auto *xcvr = static_cast<pl_xcvr *>( record );
    return xcvr->ops->type == PL_XCVR_QSFP ? ofQsfp( xcvr ) : ofSfp( xcvr );
}

// A lamp cannot be asked what it shows.
Callbacks ofLed( void *record ) {
    auto *led = static_cast<pl_led *>( record );
    Callbacks callbacks;
    if ( provides( led->ops, &pl_led_ops::setLightSetting ) ) {
        const auto set = [=]( pl_led_status setting ) {
            return [=] { return led->ops->setLightSetting( led, setting ); };
        };
        callbacks.orders.push_back( { "setLightSetting good", set( PL_LED_GOOD ) } );
        callbacks.orders.push_back( { "setLightSetting bad", set( PL_LED_BAD ) } );
        callbacks.orders.push_back( { "setLightSetting off", set( PL_LED_OFF ) } );
    }
    return callbacks;
}

Callbacks ofGpio( void *record ) {
    auto *gpio = static_cast<pl_gpio *>( record );
    const pl_gpio_ops *ops = gpio->ops;
    Callbacks callbacks;
    addReading( callbacks, "bitRead", gpio, ops, &pl_gpio_ops::bitRead );
    if ( provides( ops, &pl_gpio_ops::bitSet ) ) {
        callbacks.orders.push_back( { "bitSet", [=] { return ops->bitSet( gpio ); } } );
    }
    if ( provides( ops, &pl_gpio_ops::bitClear ) ) {
        callbacks.orders.push_back( { "bitClear", [=] { return ops->bitClear( gpio ); } } );
    }
    return callbacks;
}

/// What raw accesses read and write back.
struct RawData {
    unsigned char byte = 0;
    unsigned short word = 0;
    std::array<unsigned char, 256> block = {}; ///< larger than the largest block
    unsigned length = 0;
    unsigned short answer = 0;
    std::array<unsigned char, 256> blockAnswer = {};
    unsigned char answerLength = 0;
};

// One transfer of each type, at register 0. What is written is what was read before.
Callbacks ofSmbus( void *record ) {
    constexpr unsigned char reg = 0;
    constexpr unsigned someBytes = 4;
    auto *smbus = static_cast<pl_smbus *>( record );
    const pl_smbus_ops *ops = smbus->ops;
    auto data = std::make_shared<RawData>();
    Callbacks callbacks;
    const auto add = [&]( const char *name, auto slot, auto... arguments ) {
        if ( provides( ops, slot ) ) {
            callbacks.orders.push_back(
                { name, [=] { return ( ops->*slot )( smbus, arguments( *data )... ); } } );
        }
    };
    const auto command = []( RawData & ) { return reg; };
    const auto byteOut = []( RawData &d ) { return &d.byte; };
    const auto byteIn = []( RawData &d ) { return d.byte; };
    const auto wordOut = []( RawData &d ) { return &d.word; };
    const auto wordIn = []( RawData &d ) { return d.word; };
    const auto block = []( RawData &d ) { return d.block.data(); };
    const auto few = []( RawData & ) { return someBytes; };
    add( "quickCommand", &pl_smbus_ops::quickCommand, []( RawData & ) { return 0; } );
    add( "sendByte 0x00", &pl_smbus_ops::sendByte, command );
    add( "receiveByte", &pl_smbus_ops::receiveByte, byteOut );
    add( "readByte 0x00", &pl_smbus_ops::readByte, command, byteOut );
    add( "writeByte 0x00", &pl_smbus_ops::writeByte, command, byteIn );
    add( "readWord 0x00", &pl_smbus_ops::readWord, command, wordOut );
    add( "writeWord 0x00", &pl_smbus_ops::writeWord, command, wordIn );
    add( "i2cBlockRead 0x00, 4 bytes", &pl_smbus_ops::i2cBlockRead, command, block, few );
    add( "i2cBlockWrite 0x00, 4 bytes", &pl_smbus_ops::i2cBlockWrite, command, block, few );
    add( "blockRead 0x00", &pl_smbus_ops::blockRead, command, block,
         []( RawData &d ) { return &d.length; } );
    add( "blockWrite 0x00, 4 bytes", &pl_smbus_ops::blockWrite, command, block, few );
    add( "processCall 0x00", &pl_smbus_ops::processCall, command, wordIn,
         []( RawData &d ) { return &d.answer; } );
    add(
        "blockProcessCall 0x00, 4 bytes", &pl_smbus_ops::blockProcessCall, command, block,
        []( RawData & ) { return static_cast<unsigned char>( someBytes ); },
        []( RawData &d ) { return d.blockAnswer.data(); },
        []( RawData &d ) { return &d.answerLength; } );
    return callbacks;
}

// Not powercycle: it is there to switch off the machine that this runs on.
Callbacks ofSystem( void *record ) {
    constexpr size_t causeSize = 100 + 1;
    constexpr size_t detailSize = 500 + 1;
    auto *system = static_cast<pl_system *>( record );
    Callbacks callbacks;
    if ( provides( system->ops, &pl_system_ops::get_reload_cause ) ) {
        callbacks.readings.push_back( { "get_reload_cause", [=] {
                                           std::array<char, causeSize> cause = {};
                                           std::array<char, detailSize> detail = {};
                                           long when = 0;
                                           return system->ops->get_reload_cause(
                                               system, cause.data(), &when, detail.data() );
                                       } } );
    }
    return callbacks;
}

struct ClassCallbacks {
    DeviceClass deviceClass;
    Callbacks ( *of )( void *record );
};
constexpr ClassCallbacks rows[] = {
    { DeviceClass::tempSensor, ofTempSensor },
    { DeviceClass::fan, ofFan },
    { DeviceClass::psu, ofPsu },
    { DeviceClass::slot, ofSlot },
    { DeviceClass::xcvr, ofXcvr },
    { DeviceClass::led, ofLed },
    { DeviceClass::gpio, ofGpio },
    { DeviceClass::smbus, ofSmbus },
    { DeviceClass::system, ofSystem },
};
static_assert( std::size( rows ) == std::size( classNames ) );

} // namespace

Callbacks callbacksOf( const Device &device ) {
    for ( const ClassCallbacks &row : rows ) {
        if ( row.deviceClass == device.entry->deviceClass ) {
            return row.of( device.record );
        }
    }
    return {};
}

} // namespace HostTool::Explain
