#pragma once

#include "KavraGeneric/Drivers/Pmbus.h"
#include "tests/support/FakeSmbusServer.h"
#include "tests/support/LibraryFixture.h"

#include <deque>
#include <string>
#include <vector>

using Strings = std::vector<std::string>;

// Supply 7, and device 20, whose register bits tell of it.
inline constexpr const char *pmbusTopology = R"([
    { "type": "I2C", "ham": "KavraSmbus", "id": 1, "devices": [
        { "did": 7 },
        { "did": 20, "label": "gpios", "driver": null, "address": { "address": 64 } } ] } ])";

/// What the host does with a supply.
class HostOfSupplies : public LibraryFixture {
  protected:
    /// Device arguments of supply 7; the driver arguments are the members of a JSON object.
    static const char *supply7( const std::string &driverArgs ) {
        static std::deque<std::string> texts; // devices keep pointers to theirs
        texts.push_back( R"({ "name": "psu1", "driver": "Pmbus", "did": 7, )"
                         R"("address": { "address": 88 }, "driverArgs": { )" +
                         driverArgs + " } }" );
        return texts.back().c_str();
    }

    void addPsu( const std::string &driverArgs = "" ) { psu = pl_psu_add( supply7( driverArgs ) ); }
    void addFan( const std::string &driverArgs = R"("fanId": 1, "maxFanRpm": 20000)" ) {
        fan = pl_fan_add( supply7( driverArgs ) );
    }
    void addSensor( const std::string &driverArgs = R"("sensorId": 1)" ) {
        sensor = pl_temp_sensor_add( supply7( driverArgs ), 60, 70 );
    }

    static Drivers::Pmbus &device() {
        return dynamic_cast<Drivers::Pmbus &>( *Component::DeviceBase::devices.at( 7 ) );
    }

    /// The traces of a level, without the access method's.
    static Strings ownTraces( int level ) {
        Strings texts = host().texts( level );
        std::erase( texts, "executing KavraSmbusHam request" );
        return texts;
    }

    static constexpr float untouched = -999;

    pl_psu *psu = nullptr;
    pl_fan *fan = nullptr;
    pl_temp_sensor *sensor = nullptr;
    float value = untouched;
    int number = -999;
};

class PmbusTest : protected FakeSmbusServer, public HostOfSupplies {
  protected:
    PmbusTest() {
        connect();
        loadTopology( pmbusTopology );
    }

    /// A reply with a word, the low byte first.
    static Reply word( unsigned content ) { return bytes( content & 0xFF, content >> 8 ); }

    pl_status powerOk() { return psu->ops->get_power_ok( psu, &number ); }
    pl_status outputVoltage() { return psu->ops->get_output_voltage( psu, &value ); }
    pl_status rpm() { return fan->ops->getRpm( fan, &number ); }
    pl_status setRpm( int speed ) { return fan->ops->setRpm( fan, speed ); }
    pl_status temperature() { return sensor->ops->getTemperature( sensor, &value ); }
};

/// A word as the wire has it, the low byte first.
inline std::string wordBytes( unsigned word ) {
    return { static_cast<char>( word ), static_cast<char>( word >> 8 ) };
}
