#include "tests/faults/Operations.h"

#include "tests/faults/Faults.h"

#include <PlatformLibrary/pl.h>

#include <cstdlib>
#include <cstring>
#include <memory>

namespace {

using HostTool::DeviceClass;
using HostTool::Entry;

/// A text that the library handed out.
void take( Result &result, char *text ) {
    if ( text != nullptr ) {
        strncpy( result.text.data(), text, result.text.size() - 1 );
    }
    free( text );
}

/// Collects the callbacks of one record, which is there when they are called.
template <class Record>
class Callbacks {
  public:
    Callbacks( const Entry &entry, std::shared_ptr<Record *> record )
        : entry_( entry ), record_( std::move( record ) ) {}

    /// A slot that reads one value.
    template <class Slot>
    void reading( const char *name, Slot slot ) {
        add( name, [slot]( Record *record, Result &result ) { readWith( slot, record, result ); } );
    }

    template <class Call>
    void add( const char *name, Call call, std::function<void()> before = {} ) {
        operations.push_back(
            { std::string( name ) + " of " + entry_.name,
              std::string( nameOf( entry_.deviceClass ) ) + " " + entry_.driver + " " + name,
              [call, record = record_]( Result &result ) { call( *record, result ); },
              std::move( before ) } );
    }

    std::vector<Operation> operations;

  private:
    template <class Value>
    static void readWith( pl_status ( *slot )( Record *, Value * ), Record *record,
                          Result &result ) {
        Value value = {};
        result.status = slot( record, &value );
        result.value = static_cast<double>( value );
    }
    template <class Slot>
    requires requires( Slot slot, Record *record ) { slot( record->ops ); }
    static void readWith( Slot slot, Record *record, Result &result ) {
        readWith( slot( record->ops ), record, result );
    }

    const Entry &entry_;
    std::shared_ptr<Record *> record_;
};

#define SLOT( name ) []( const auto *ops ) { return ops->name; }

void callbacksOf( Callbacks<pl_temp_sensor> &sensor ) {
    sensor.reading( "getTemperature", SLOT( getTemperature ) );
}

void callbacksOf( Callbacks<pl_fan> &fan ) {
    fan.reading( "getRpm", SLOT( getRpm ) );
    fan.add( "setRpm", []( pl_fan *record, Result &result ) {
        result.status = record->ops->setRpm( record, 9000 );
    } );
    fan.add( "debugInfo", []( pl_fan *record, Result &result ) {
        char *text = nullptr;
        result.status = record->ops->debugInfo( record, &text );
        take( result, text );
    } );
}

void callbacksOf( Callbacks<pl_psu> &psu ) {
    psu.reading( "get_power_ok", SLOT( get_power_ok ) );
    psu.reading( "get_input_current", SLOT( get_input_current ) );
    psu.reading( "get_output_current", SLOT( get_output_current ) );
    psu.reading( "get_input_voltage", SLOT( get_input_voltage ) );
    psu.reading( "get_output_voltage", SLOT( get_output_voltage ) );
    psu.reading( "get_input_power", SLOT( get_input_power ) );
    psu.reading( "get_output_power", SLOT( get_output_power ) );
}

void callbacksOf( Callbacks<pl_slot> &slot ) {
    slot.add( "getPresence", []( pl_slot *record, Result &result ) {
        char *text = nullptr;
        result.status = record->ops->getPresence( record, &text );
        take( result, text );
    } );
}

template <class Set>
auto setting( Set set, int value ) {
    return [=]( pl_xcvr *record, Result &result ) {
        result.status = set( record->ops )( record, value );
    };
}

void callbacksOf( Callbacks<pl_xcvr> &xcvr, bool isQsfp ) {
    const auto presence = []( auto get ) {
        return [get]( pl_xcvr *record, Result &result ) {
            result.status = get( record->ops )( record );
        };
    };
    if ( isQsfp ) {
        xcvr.add( "getPresence", presence( SLOT( u.qsfp.getPresence ) ) );
        xcvr.reading( "getModSel", SLOT( u.qsfp.getModSel ) );
        xcvr.reading( "getLpMode", SLOT( u.qsfp.getLpMode ) );
        xcvr.reading( "getReset", SLOT( u.qsfp.getReset ) );
        xcvr.reading( "getInterrupt", SLOT( u.qsfp.getInterrupt ) );
        xcvr.add( "setModSel", setting( SLOT( u.qsfp.setModSel ), 1 ) );
        xcvr.add( "setLpMode", setting( SLOT( u.qsfp.setLpMode ), 0 ) );
        xcvr.add( "setReset", setting( SLOT( u.qsfp.setReset ), 1 ) );
        xcvr.add( "setReset", setting( SLOT( u.qsfp.setReset ), 0 ) );
        return;
    }
    xcvr.add( "getPresence", presence( SLOT( u.sfp.getPresence ) ) );
    xcvr.reading( "getTxFault", SLOT( u.sfp.getTxFault ) );
    xcvr.reading( "getRxLos", SLOT( u.sfp.getRxLos ) );
    xcvr.reading( "getTxDisable", SLOT( u.sfp.getTxDisable ) );
    xcvr.add( "setTxDisable", setting( SLOT( u.sfp.setTxDisable ), 1 ) );
    xcvr.add( "setTxDisable", setting( SLOT( u.sfp.setTxDisable ), 0 ) );
}

void callbacksOf( Callbacks<pl_led> &led ) {
    // Dark at the end, so that the next lamp's blinking begins anew.
    for ( const pl_led_status setting :
          { PL_LED_GOOD, PL_LED_BAD, PL_LED_BEACON, PL_LED_INACTIVE, PL_LED_OFF } ) {
        led.add( "setLightSetting", [setting]( pl_led *record, Result &result ) {
            result.status = record->ops->setLightSetting( record, setting );
        } );
    }
}

void callbacksOf( Callbacks<pl_gpio> &gpio ) {
    gpio.reading( "bitRead", SLOT( bitRead ) );
    gpio.add( "bitSet", []( pl_gpio *record, Result &result ) {
        result.status = record->ops->bitSet( record );
    } );
    gpio.add( "bitClear", []( pl_gpio *record, Result &result ) {
        result.status = record->ops->bitClear( record );
    } );
}

// At register 0. What a failed block read leaves in its buffer means nothing.
void callbacksOf( Callbacks<pl_smbus> &smbus, const std::shared_ptr<pl_smbus *> &record ) {
    constexpr unsigned few = 4;
    using Bytes = std::array<unsigned char, 256>;
    const auto keep = []( Result &result, const Bytes &bytes, size_t count ) {
        if ( result.status == PL_STATUS_OK ) {
            memcpy( result.text.data(), bytes.data(), count );
        }
    };
    const auto toStart = [record] { ( *record )->ops->sendByte( *record, 0 ); };
    smbus.add( "readByte", []( pl_smbus *raw, Result &result ) {
        unsigned char value = 0;
        result.status = raw->ops->readByte( raw, 0, &value );
        result.value = value;
    } );
    smbus.add( "quickCommand", []( pl_smbus *raw, Result &result ) {
        result.status = raw->ops->quickCommand( raw, 0 );
    } );
    smbus.add(
        "receiveByte",
        []( pl_smbus *raw, Result &result ) {
            unsigned char value = 0;
            result.status = raw->ops->receiveByte( raw, &value );
            result.value = value;
        },
        toStart );
    smbus.add( "sendByte", []( pl_smbus *raw, Result &result ) {
        result.status = raw->ops->sendByte( raw, 0 );
    } );
    smbus.add( "readWord", []( pl_smbus *raw, Result &result ) {
        unsigned short value = 0;
        result.status = raw->ops->readWord( raw, 0, &value );
        result.value = value;
    } );
    smbus.add( "blockRead", [keep]( pl_smbus *raw, Result &result ) {
        Bytes bytes = {};
        unsigned length = 0;
        result.status = raw->ops->blockRead( raw, 0, bytes.data(), &length );
        result.value = length;
        keep( result, bytes, length );
    } );
    smbus.add( "i2cBlockRead", [keep]( pl_smbus *raw, Result &result ) {
        Bytes bytes = {};
        result.status = raw->ops->i2cBlockRead( raw, 0, bytes.data(), few );
        keep( result, bytes, few );
    } );
    smbus.add( "writeByte", []( pl_smbus *raw, Result &result ) {
        result.status = raw->ops->writeByte( raw, 0, 0 );
    } );
    smbus.add( "writeWord", []( pl_smbus *raw, Result &result ) {
        result.status = raw->ops->writeWord( raw, 0, 0 );
    } );
    smbus.add( "blockWrite", []( pl_smbus *raw, Result &result ) {
        constexpr Bytes bytes = {};
        result.status = raw->ops->blockWrite( raw, 0, bytes.data(), few );
    } );
    smbus.add( "i2cBlockWrite", []( pl_smbus *raw, Result &result ) {
        constexpr Bytes bytes = {};
        result.status = raw->ops->i2cBlockWrite( raw, 0, bytes.data(), few );
    } );
    smbus.add( "processCall", []( pl_smbus *raw, Result &result ) {
        unsigned short answer = 0;
        result.status = raw->ops->processCall( raw, 0, 0, &answer );
        result.value = answer;
    } );
    smbus.add( "blockProcessCall", []( pl_smbus *raw, Result &result ) {
        constexpr Bytes bytes = {};
        Bytes answer = {};
        unsigned char length = 0;
        result.status =
            raw->ops->blockProcessCall( raw, 0, bytes.data(), few, answer.data(), &length );
    } );
}

void callbacksOf( Callbacks<pl_system> &system ) {
    system.add( "get_reload_cause", []( pl_system *record, Result &result ) {
        std::array<char, 101> cause = {};
        std::array<char, 501> detail = {};
        long when = 0;
        result.status = record->ops->get_reload_cause( record, cause.data(), &when, detail.data() );
    } );
    system.add( "powercycle", []( pl_system *record, Result &result ) {
        result.status = record->ops->powercycle( record );
    } );
}

template <class Record, class Fill>
EntryOperations operationsWith( const Entry &entry, std::function<Record *()> add, Fill fill ) {
    auto record = std::make_shared<Record *>( nullptr );
    Callbacks<Record> callbacks( entry, record );
    fill( callbacks, record );
    const std::string driver = entry.driver.empty() ? "bus" : entry.driver;
    return { { "add " + entry.name,
               "add " + std::string( nameOf( entry.deviceClass ) ) + " " + driver,
               [record, add]( Result &result ) {
                   Record *const made = add();
                   result.isRecord = true;
                   result.status = made != nullptr;
                   *record = made != nullptr ? made : *record;
               } },
             std::move( callbacks.operations ) };
}

template <class Record>
EntryOperations operationsWith( const Entry &entry, Record *( *add )( const char * )) {
    return operationsWith<Record>(
        entry, [add, &entry] { return add( entry.arguments.c_str() ); },
        []( Callbacks<Record> &callbacks, const auto & ) { callbacksOf( callbacks ); } );
}

} // namespace

EntryOperations operationsOf( const Entry &entry ) {
    switch ( entry.deviceClass ) {
    case DeviceClass::tempSensor:
        return operationsWith<pl_temp_sensor>(
            entry,
            [&entry] {
                return pl_temp_sensor_add( entry.arguments.c_str(), entry.thresholds->alert,
                                           entry.thresholds->critical );
            },
            []( auto &callbacks, const auto & ) { callbacksOf( callbacks ); } );
    case DeviceClass::fan:
        return operationsWith( entry, pl_fan_add );
    case DeviceClass::psu:
        return operationsWith( entry, pl_psu_add );
    case DeviceClass::slot:
        return operationsWith( entry, pl_slot_add );
    case DeviceClass::xcvr: {
        const bool isQsfp = entry.arguments.find( "\"qsfp" ) != std::string::npos;
        return operationsWith<pl_xcvr>(
            entry, [&entry] { return pl_xcvr_add( entry.arguments.c_str() ); },
            [isQsfp]( auto &callbacks, const auto & ) { callbacksOf( callbacks, isQsfp ); } );
    }
    case DeviceClass::led:
        return operationsWith( entry, pl_led_add );
    case DeviceClass::gpio:
        return operationsWith( entry, pl_gpio_add );
    case DeviceClass::smbus:
        return operationsWith<pl_smbus>(
            entry,
            [&entry] {
                return pl_smbus_add( entry.bus.empty() ? entry.arguments.c_str()
                                                       : entry.bus.c_str(),
                                     entry.address );
            },
            []( auto &callbacks, const auto &record ) { callbacksOf( callbacks, record ); } );
    case DeviceClass::system:
        return operationsWith( entry, pl_system_add );
    }
    abort();
}

std::vector<Operation> initialisations( const char *topology ) {
    struct Init {
        const char *name;
        pl_status ( *function )( const char * );
    };
    constexpr Init all[] = {
        { "pl_slot_init", pl_slot_init },
        { "pl_led_init", pl_led_init },
        { "pl_temp_sensor_init", pl_temp_sensor_init },
        { "pl_fan_init", pl_fan_init },
        { "pl_xcvr_init", pl_xcvr_init },
        { "pl_psu_init", pl_psu_init },
        { "pl_gpio_init", pl_gpio_init },
        { "pl_smbus_init", pl_smbus_init },
        { "pl_system_init", pl_system_init },
    };
    std::vector<Operation> operations;
    for ( const Init &init : all ) {
        operations.push_back( { init.name, "init", [init, topology]( Result &result ) {
                                   result.status = init.function( topology );
                               } } );
    }
    return operations;
}
