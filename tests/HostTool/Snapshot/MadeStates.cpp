#include "tests/HostTool/Snapshot/MadeStates.h"

namespace Made {

static DeviceState device( DeviceClass deviceClass, const std::string &name,
                           State state = State::ok ) {
    DeviceState made;
    made.name = name;
    made.deviceClass = deviceClass;
    made.driver = "X";
    made.did = 7;
    made.state = state;
    return made;
}

static void apply( DeviceState &device, Changes changes ) {
    for ( const auto &[key, record] : changes ) {
        for ( auto *section : { &device.identity, &device.values, &device.settings } ) {
            for ( auto &each : *section ) {
                if ( each.first == key ) {
                    each.second = record;
                }
            }
        }
    }
}

Record is( Record::Value value, const std::string &unit ) {
    return { std::move( value ), unit, "PL_STATUS_OK", "", Freshness::fresh, 0.0 };
}

Record text( const std::string &value ) {
    return is( value );
}

Record failed( const std::string &reason, const std::string &status ) {
    return { {}, "", status, reason, Freshness::failed };
}

Record unread( const std::string &reason ) {
    return { {}, "", "PL_STATUS_OK", reason, Freshness::never };
}

Record none() {
    return { {}, "", "PL_STATUS_NOT_SUPPORTED", "not supported", Freshness::none };
}

DeviceState sensor( const std::string &name, const Record &temperature, State state ) {
    DeviceState made = device( DeviceClass::tempSensor, name, state );
    made.thresholds = { 45, 55 };
    made.values = { { "temperature", temperature } };
    return made;
}

DeviceState sensor( const std::string &name, double celsius, State state ) {
    return sensor( name, is( celsius, "C" ), state );
}

DeviceState fan( const std::string &name, const Record &speed ) {
    DeviceState made = device( DeviceClass::fan, name );
    made.values = { { "speed", speed }, { "debug", none() } };
    made.settings = { { "full_speed", is( 20000.0, "rpm" ) } };
    return made;
}

DeviceState fan( const std::string &name, double rpm ) {
    return fan( name, is( rpm, "rpm" ) );
}

DeviceState supply( const std::string &name, Changes changes ) {
    DeviceState made = device( DeviceClass::psu, name );
    made.values = { { "power_ok", is( true ) },
                    { "input_voltage", is( 230.0, "V" ) },
                    { "input_current", is( 1.0, "A" ) },
                    { "input_power", is( 230.0, "W" ) },
                    { "output_voltage", is( 12.0, "V" ) },
                    { "output_current", is( 18.0, "A" ) },
                    { "output_power", is( 216.0, "W" ) } };
    apply( made, changes );
    return made;
}

DeviceState slot( const std::string &name, const Record &model, const Record &serial,
                  const std::string &description ) {
    DeviceState made = device( DeviceClass::slot, name );
    made.identity = { { "description", text( description ) },
                      { "model", model },
                      { "serial", serial } };
    made.values = { { "present", is( true ) } };
    return made;
}

DeviceState slot( const std::string &name, const std::string &model, const std::string &serial ) {
    return slot( name, text( model ), text( serial ), model + " " + serial );
}

DeviceState emptySlot( const std::string &name, const std::string &reason ) {
    DeviceState made = device( DeviceClass::slot, name, State::absent );
    const Record absent = { {}, "", "PL_STATUS_NOT_PRESENT", reason, Freshness::none };
    made.identity = { { "description", absent }, { "model", absent }, { "serial", absent } };
    made.values = { { "present", is( false ) } };
    return made;
}

DeviceState cage( const std::string &name, Changes changes ) {
    DeviceState made = device( DeviceClass::xcvr, name );
    made.identity = { { "type", text( "sfp" ) } };
    made.values = { { "present", is( true ) },
                    { "tx_fault", is( false ) },
                    { "rx_los", is( false ) },
                    { "interrupt", is( false ) } };
    made.settings = { { "tx_disable", is( false ) },
                      { "mod_sel", is( false ) },
                      { "lp_mode", is( false ) },
                      { "reset", is( false ) } };
    apply( made, changes );
    return made;
}

DeviceState lamp( const std::string &name ) {
    DeviceState made = device( DeviceClass::led, name, State::added );
    made.settings = { { "light", unread( "a lamp cannot be asked" ) } };
    return made;
}

DeviceState line( const std::string &name, double value ) {
    DeviceState made = device( DeviceClass::gpio, name );
    made.values = { { "value", is( value ) } };
    return made;
}

BoardState board( std::vector<DeviceState> devices ) {
    BoardState made;
    made.origin.tool = "1.0.0";
    made.origin.taken = "2026-11-21T17:10:16Z";
    made.origin.board = "VundaT";
    made.origin.topology = "crc32:00000001";
    made.origin.devices = "crc32:00000002";
    made.origin.libraryFile = "libKavraDriversVundaT.so.1.0.0";
    made.origin.serverIsUp = true;
    made.devices = std::move( devices );
    return made;
}

} // namespace Made
