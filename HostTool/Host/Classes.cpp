#include "HostTool/Host/Classes.h"

#include "HostTool/Board/EntryArguments.h"
#include "HostTool/Board/SlotText.h"
#include "HostTool/Host/HostServices.h"
#include "HostTool/Host/Provides.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <iterator>
#include <string_view>

namespace HostTool {

namespace {

using Readings = std::vector<Reading>;

/// The readings in braces, which are made from left to right, without a copy of each.
template <size_t count>
Readings listOf( Reading ( &&readings )[count] ) {
    return { std::make_move_iterator( std::begin( readings ) ),
             std::make_move_iterator( std::end( readings ) ) };
}

// The reload cause's buffers, as the operation's contract has them, with room for a text that fills
// its buffer to the end.
constexpr size_t causeSize = 100 + 1;
constexpr size_t detailSize = 500 + 1;

Reading unsupported() {
    return { {}, PL_STATUS_NOT_SUPPORTED, meaningOf( PL_STATUS_NOT_SUPPORTED ) };
}

Reading finished( pl_status status, Reading::Value value ) {
    if ( status != PL_STATUS_OK ) {
        return Reading::failed( status );
    }
    const float *number = std::get_if<float>( &value );
    if ( number && !std::isfinite( *number ) ) {
        return { {}, PL_STATUS_BAD_READING, "the library returned a value that is no number" };
    }
    return Reading::of( std::move( value ) );
}

// No device reads as one of these. The first is a NaN that no arithmetic gives, the second is no
// truth value, no speed of a fan and no state of a line.
constexpr uint32_t untouchedBits = 0x7FC5'A5A5;
template <class Value>
constexpr Value untouched = std::bit_cast<Value>( untouchedBits );

template <class Value>
bool isUntouched( Value value ) {
    return std::bit_cast<uint32_t>( value ) == untouchedBits;
}

/// Calls a slot that reads one value of type Value and keeps it as a value of type Shown.
template <class Shown, class Ops, class Record, class Value>
Reading call( const Ops *ops, pl_status ( *Ops::*slot )( Record *, Value * ), Record *record ) {
    if ( !provides( ops, slot ) ) {
        return unsupported();
    }
    Value value = untouched<Value>;
    HostServices::get().forgetLines();
    const pl_status status = ( ops->*slot )( record, &value );
    if ( status == PL_STATUS_OK && isUntouched( value ) ) {
        return Reading::unread( "the driver answers without reading it" );
    }
    return finished( status, static_cast<Shown>( value ) );
}

/// A text that the library allocated.
Reading finishedText( pl_status status, char *text ) {
    std::string copy = text ? printable( text, true ) : "";
    free( text );
    if ( status == PL_STATUS_OK && copy.empty() ) {
        return unsupported();
    }
    return finished( status, std::move( copy ) );
}

Readings readTempSensor( void *record, const Entry & ) {
    auto *sensor = static_cast<pl_temp_sensor *>( record );
    return { call<float>( sensor->ops, &pl_temp_sensor_ops::getTemperature, sensor ) };
}

Readings readFan( void *record, const Entry & ) {
    auto *fan = static_cast<pl_fan *>( record );
    Reading debug = unsupported();
    if ( provides( fan->ops, &pl_fan_ops::debugInfo ) ) {
        char *text = nullptr;
        HostServices::get().forgetLines();
        const pl_status status = fan->ops->debugInfo( fan, &text );
        debug = finishedText( status, text );
    }
    return { call<int>( fan->ops, &pl_fan_ops::getRpm, fan ), debug };
}

Readings readPsu( void *record, const Entry & ) {
    auto *psu = static_cast<pl_psu *>( record );
    const pl_psu_ops *ops = psu->ops;
    return { call<bool>( ops, &pl_psu_ops::get_power_ok, psu ),
             call<float>( ops, &pl_psu_ops::get_input_voltage, psu ),
             call<float>( ops, &pl_psu_ops::get_input_current, psu ),
             call<float>( ops, &pl_psu_ops::get_input_power, psu ),
             call<float>( ops, &pl_psu_ops::get_output_voltage, psu ),
             call<float>( ops, &pl_psu_ops::get_output_current, psu ),
             call<float>( ops, &pl_psu_ops::get_output_power, psu ) };
}

/// Model and serial number as the description has them.
std::array<Reading, 2> identityReadings( pl_status status, const char *text, const Entry &entry ) {
    if ( status != PL_STATUS_OK ) {
        return { Reading::failed( status ), Reading::failed( status ) };
    }
    const auto identity = identityIn( text ? text : "", entry.settings );
    if ( !identity ) {
        const Reading none = {
            {},
            PL_STATUS_NOT_SUPPORTED,
            "the description names no model, and none of the entry's templates makes it"
        };
        return { none, none };
    }
    return { Reading::of( printable( identity->model ) ),
             identity->serial
                 ? Reading::of( printable( *identity->serial ) )
                 : Reading{ {}, PL_STATUS_NOT_SUPPORTED, "the part has no serial number" } };
}

Readings readSlot( void *record, const Entry &entry ) {
    auto *slot = static_cast<pl_slot *>( record );
    if ( !provides( slot->ops, &pl_slot_ops::getPresence ) ) {
        return { unsupported(), unsupported(), unsupported(), unsupported() };
    }
    char *text = nullptr;
    HostServices::get().forgetLines();
    const pl_status status = slot->ops->getPresence( slot, &text );
    const auto [model, serial] = identityReadings( status, text, entry );
    const Reading identity = finishedText( status, text );
    const bool isAnswer = status == PL_STATUS_OK || status == PL_STATUS_NOT_PRESENT;
    return { isAnswer ? Reading::of( status == PL_STATUS_OK ) : Reading::failed( status ), identity,
             model, serial };
}

/// Presence is a status of its own kind: 0 present, 1 absent, anything else a failure.
template <class Ops>
Reading cagePresence( const Ops &ops, pl_xcvr *xcvr ) {
    if ( !provides( &ops, &Ops::getPresence ) ) {
        return unsupported();
    }
    HostServices::get().forgetLines();
    const pl_status status = ops.getPresence( xcvr );
    if ( status == PL_STATUS_OK || status == PL_STATUS_NOT_PRESENT ) {
        return Reading::of( status == PL_STATUS_OK );
    }
    return Reading::failed( status );
}

// A cage without the fault line answers "no fault", and nobody has read that.
Readings readSfp( pl_xcvr *xcvr, const Entry &entry ) {
    const pl_sfp_ops &ops = xcvr->ops->u.sfp;
    const bool hasTxFault = driverArgument( entry, "txFaultSupported" ) != "false";
    return listOf( { Reading::of( std::string( "sfp" ) ), cagePresence( ops, xcvr ),
                     hasTxFault ? call<bool>( &ops, &pl_sfp_ops::getTxFault, xcvr ) : unsupported(),
                     call<bool>( &ops, &pl_sfp_ops::getRxLos, xcvr ),
                     call<bool>( &ops, &pl_sfp_ops::getTxDisable, xcvr ), unsupported(),
                     unsupported(), unsupported(), unsupported() } );
}

Readings readQsfp( pl_xcvr *xcvr ) {
    const pl_qsfp_ops &ops = xcvr->ops->u.qsfp;
    return listOf( { Reading::of( std::string( "qsfp" ) ), cagePresence( ops, xcvr ), unsupported(),
                     unsupported(), unsupported(),
                     call<bool>( &ops, &pl_qsfp_ops::getModSel, xcvr ),
                     call<bool>( &ops, &pl_qsfp_ops::getLpMode, xcvr ),
                     call<bool>( &ops, &pl_qsfp_ops::getReset, xcvr ),
                     call<bool>( &ops, &pl_qsfp_ops::getInterrupt, xcvr ) } );
}

Readings readXcvr( void *record, const Entry &entry ) {
    auto *xcvr = static_cast<pl_xcvr *>( record );
    return xcvr->ops->type == PL_XCVR_QSFP ? readQsfp( xcvr ) : readSfp( xcvr, entry );
}

Readings readGpio( void *record, const Entry & ) {
    auto *gpio = static_cast<pl_gpio *>( record );
    return { call<int>( gpio->ops, &pl_gpio_ops::bitRead, gpio ) };
}

Readings readSystem( void *record, const Entry & ) {
    auto *system = static_cast<pl_system *>( record );
    if ( !provides( system->ops, &pl_system_ops::get_reload_cause ) ) {
        return { unsupported(), unsupported(), unsupported() };
    }
    std::array<char, causeSize> cause = {};
    std::array<char, detailSize> detail = {};
    long when = 0;
    HostServices::get().forgetLines();
    const pl_status status =
        system->ops->get_reload_cause( system, cause.data(), &when, detail.data() );
    return { finished( status, printable( cause.data() ) ),
             finished( status, std::to_string( when ) ),
             finished( status, printable( detail.data() ) ) };
}

/// A lamp cannot be asked, and a read through a raw proxy may change the chip.
Readings readNothing( void *, const Entry & ) {
    return {};
}

template <class Record>
void *addByArguments( const Library &library, const char *entryPoint, const Entry &entry ) {
    return library.entryPoint<Record *( const char * )>( entryPoint )( entry.arguments.c_str() );
}

void *addTempSensor( const Library &library, const char *entryPoint, const Entry &entry ) {
    return library.entryPoint<pl_temp_sensor *( const char *, float, float )>( entryPoint )(
        entry.arguments.c_str(), entry.thresholds->alert, entry.thresholds->critical );
}

void *addSmbus( const Library &library, const char *entryPoint, const Entry &entry ) {
    const std::string &text = entry.bus.empty() ? entry.arguments : entry.bus;
    return library.entryPoint<pl_smbus *( const char *, unsigned )>( entryPoint )( text.c_str(),
                                                                                   entry.address );
}

constexpr Column polled( const char *key ) {
    return { key, "", 0, false, true };
}

// The transceiver driver polls once a second.
constexpr int oneTransceiverPoll = 1200;

const std::array<ClassRow, std::size( classNames )> rows = { {
    { DeviceClass::tempSensor,
      "pl_temp_sensor_init",
      "pl_temp_sensor_add",
      addTempSensor,
      { { "temperature", "C", 1 } },
      readTempSensor,
      0 },
    { DeviceClass::fan,
      "pl_fan_init",
      "pl_fan_add",
      addByArguments<pl_fan>,
      { { "speed", "rpm", 0 }, { "debug", "", 0 } },
      readFan,
      0 },
    { DeviceClass::psu,
      "pl_psu_init",
      "pl_psu_add",
      addByArguments<pl_psu>,
      { { "power_ok", "", 0 },
        { "input_voltage", "V", 2 },
        { "input_current", "A", 2 },
        { "input_power", "W", 2 },
        { "output_voltage", "V", 2 },
        { "output_current", "A", 2 },
        { "output_power", "W", 2 } },
      readPsu,
      0 },
    { DeviceClass::slot,
      "pl_slot_init",
      "pl_slot_add",
      addByArguments<pl_slot>,
      { { "present", "", 0 },
        { "identity", "", 0, true },
        { "model", "", 0 },
        { "serial", "", 0 } },
      readSlot,
      0 },
    { DeviceClass::xcvr,
      "pl_xcvr_init",
      "pl_xcvr_add",
      addByArguments<pl_xcvr>,
      { { "type", "", 0 },
        polled( "present" ),
        polled( "tx_fault" ),
        polled( "rx_los" ),
        polled( "tx_disable" ),
        polled( "mod_sel" ),
        polled( "lp_mode" ),
        polled( "reset" ),
        polled( "interrupt" ) },
      readXcvr,
      oneTransceiverPoll },
    { DeviceClass::led, "pl_led_init", "pl_led_add", addByArguments<pl_led>, {}, readNothing, 0 },
    { DeviceClass::gpio,
      "pl_gpio_init",
      "pl_gpio_add",
      addByArguments<pl_gpio>,
      { { "value", "", 0 } },
      readGpio,
      0 },
    { DeviceClass::smbus, "pl_smbus_init", "pl_smbus_add", addSmbus, {}, readNothing, 0 },
    { DeviceClass::system,
      "pl_system_init",
      "pl_system_add",
      addByArguments<pl_system>,
      { { "reload_cause", "", 0 }, { "reload_time", "s", 0 }, { "reload_detail", "", 0 } },
      readSystem,
      0 },
} };

State judgeTemperature( const Thresholds &thresholds, float celsius ) {
    if ( celsius >= thresholds.critical ) {
        return State::critical;
    }
    return celsius >= thresholds.alert ? State::alert : State::ok;
}

} // namespace

const ClassRow &rowOf( DeviceClass deviceClass ) {
    return *std::find_if( rows.begin(), rows.end(),
                          [=]( const ClassRow &row ) { return row.deviceClass == deviceClass; } );
}

State judge( const Entry &entry, const Readings &readings ) {
    const State state = stateOf( readings );
    if ( state != State::ok ) {
        return state;
    }
    const std::vector<Column> &columns = rowOf( entry.deviceClass ).columns;
    for ( size_t i = 0; i < columns.size(); ++i ) {
        const std::string_view key = columns[i].key;
        if ( !readings[i].hasValue() ) {
            continue;
        }
        if ( key == "temperature" ) {
            return judgeTemperature( *entry.thresholds, std::get<float>( readings[i].value ) );
        }
        if ( key == "power_ok" && !std::get<bool>( readings[i].value ) ) {
            return State::bad;
        }
        if ( key == "present" && !std::get<bool>( readings[i].value ) ) {
            return State::absent;
        }
    }
    return state;
}

} // namespace HostTool
