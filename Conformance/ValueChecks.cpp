// What the library reads and sets against the world of the emulated board. A device finds its knobs
// by its name, by the name in its arguments, or by its name without an ending; one that has none is
// left out.
#include "Conformance/Answers.h"
#include "Conformance/CageValues.h"
#include "Conformance/Check.h"
#include "Conformance/HostServices.h"
#include "Conformance/Knobs.h"
#include "HostTool/Board/EntryArguments.h"

#include <algorithm>
#include <array>
#include <cctype>
#include <cmath>

namespace Conformance {

namespace {

void temperatures( Subject &subject ) {
    Tried tried( "a temperature sensor" );
    for ( const Device &device : subject.devices( DeviceClass::tempSensor ) ) {
        const std::string knob = device.entry->name + ".temperature";
        if ( !subject.world().get( knob ) ) {
            continue;
        }
        tried.one();
        // Whole degrees below zero: what drivers make of half a degree there is theirs to say.
        for ( const double celsius : { -10.0, 0.0, 63.5 } ) {
            subject.world().set( knob, textOf( celsius ) );
            constexpr double halfDegree = 0.5;
            settle( { device } );
            requireValue( readOne( device ), celsius, halfDegree );
        }
    }
    tried.requireAny();
}

void thresholds( Subject &subject ) {
    Tried tried( "a sensor with limits" );
    for ( const Device &device : subject.devices( DeviceClass::tempSensor ) ) {
        const auto hysteresis = subject.world().number( device.entry->name + ".thyst" );
        const auto limit = subject.world().number( device.entry->name + ".tos" );
        if ( !hysteresis || !limit ) {
            continue;
        }
        tried.one();
        const HostTool::Thresholds &wanted = *device.entry->thresholds;
        require( std::fabs( *hysteresis - static_cast<double>( wanted.alert ) ) <= 0.5 &&
                     std::fabs( *limit - static_cast<double>( wanted.critical ) ) <= 0.5,
                 device.entry->name + ": its chip was told " + textOf( *hysteresis ) + " and " +
                     textOf( *limit ) + ", and its thresholds are " +
                     textOf( static_cast<double>( wanted.alert ) ) + " and " +
                     textOf( static_cast<double>( wanted.critical ) ) );
    }
    tried.requireAny();
}

// The host gets one speed of a tray with two rotors: it lies between theirs.
void fanSpeeds( Subject &subject ) {
    Tried tried( "a fan" );
    for ( const Device &device : subject.devices( DeviceClass::fan ) ) {
        const std::string tray =
            chipOf( *device.entry ) + ".tray" + numberOf( *device.entry, "fanId" );
        const World &world = subject.world();
        if ( !world.get( tray + "_front_speed" ) || !world.get( tray + "_rear_speed" ) ) {
            continue;
        }
        auto *const fan = device.as<pl_fan>();
        if ( fan->ops->setRpm == nullptr || fan->ops->getRpm == nullptr ) {
            tried.passOver( device.entry->name + ": setRpm or getRpm is null" );
            continue;
        }
        tried.one();
        world.set( chipOf( *device.entry ) + ".inertia", "0" );
        double before = 0;
        for ( const int asked : { 6000, 15000 } ) {
            const pl_status status = fan->ops->setRpm( fan, asked );
            require( status == PL_STATUS_OK,
                     device.entry->name + ": setRpm: status " + std::to_string( status ) );
            settle( { device } );
            const double rpm = valueOf( readOne( device ) );
            const double front = *world.number( tray + "_front_speed" );
            const double rear = *world.number( tray + "_rear_speed" );
            constexpr double oneCount = 100;
            require( rpm >= std::min( front, rear ) - oneCount &&
                         rpm <= std::max( front, rear ) + oneCount,
                     device.entry->name + ": getRpm: " + textOf( rpm ) +
                         ", and its rotors turn at " + textOf( front ) + " and " + textOf( rear ) );
            require( rpm > before, device.entry->name + ": getRpm: " + textOf( rpm ) +
                                       " behind setRpm( " + std::to_string( asked ) +
                                       " ), and before " + textOf( before ) );
            before = rpm;
        }
    }
    tried.requireAny();
}

/// Holds what a supply's slots read, those that are there, against an input voltage and a load.
void requireSupply( const Device &device, double volts, double watts ) {
    const pl_psu_ops *const ops = device.as<pl_psu>()->ops;
    constexpr double part = 0.02;
    const auto requireNear = [&]( const char *operation, auto slot, double wanted, double share ) {
        if ( slot != nullptr ) {
            requireValue( ask( device, operation, slot ), wanted, share * wanted );
        }
    };
    requireNear( "get_input_voltage", ops->get_input_voltage, volts, part );
    requireNear( "get_output_power", ops->get_output_power, watts, part );
    if ( ops->get_output_voltage != nullptr ) {
        const double outVolts =
            valueOf( ask( device, "get_output_voltage", ops->get_output_voltage ) );
        requireNear( "get_output_current", ops->get_output_current, watts / outVolts, part );
    }
    if ( ops->get_input_power != nullptr ) {
        const double inWatts = valueOf( ask( device, "get_input_power", ops->get_input_power ) );
        require( inWatts > watts && inWatts < 2 * watts,
                 device.entry->name + ": get_input_power: " + textOf( inWatts ) +
                     " with a load of " + textOf( watts ) );
        requireNear( "get_input_current", ops->get_input_current, inWatts / volts, 2 * part );
    }
}

void requirePowerOk( const Device &device, int wanted ) {
    const auto slot = device.as<pl_psu>()->ops->get_power_ok;
    if ( slot != nullptr ) {
        requireValue( ask( device, "get_power_ok", slot ), wanted, 0 );
    }
}

void supplies( Subject &subject ) {
    Tried tried( "a power supply" );
    for ( const Device &device : subject.devices( DeviceClass::psu ) ) {
        const std::string chip = chipOf( *device.entry );
        const World &world = subject.world();
        if ( !world.get( chip + ".input_voltage" ) || !world.get( chip + ".load" ) ) {
            continue;
        }
        if ( read( device ).empty() ) {
            tried.passOver( device.entry->name + ": the operations that read are null" );
            continue;
        }
        tried.one();
        constexpr double volts = 200;
        constexpr double watts = 150;
        world.set( chip + ".input_voltage", textOf( volts ) );
        world.set( chip + ".load", textOf( watts ) );
        settle( { device } );
        requireSupply( device, volts, watts );
        requirePowerOk( device, 1 );
        world.set( chip + ".output_off", "1" );
        settle( { device } );
        requirePowerOk( device, 0 );
    }
    tried.requireAny();
}

/// The knob that takes a slot's part away; empty when there is none.
std::string presenceKnob( const Subject &subject, const Entry &entry ) {
    const std::string tray = chipOf( entry ) + ".tray" + numberOf( entry, "fanId" ) + "_present";
    const std::string part = withoutEnding( entry.name, "-slot" ) + ".present";
    for ( const std::string &knob : { tray, part } ) {
        if ( subject.world().get( knob ) ) {
            return knob;
        }
    }
    return "";
}

void slots( Subject &subject ) {
    Tried tried( "a removable part" );
    for ( const Device &device : subject.devices( DeviceClass::slot ) ) {
        const std::string knob = presenceKnob( subject, *device.entry );
        if ( knob.empty() ) {
            continue;
        }
        tried.one();
        settle( { device } );
        const Answer there = askSlot( device );
        require( there.status == PL_STATUS_OK && !there.text.empty(),
                 statusText( there ) + " without a description, and the part is there" );
        const auto serial =
            subject.world().get( withoutEnding( device.entry->name, "-slot" ) + ".serial" );
        require( !serial || there.text.find( *serial ) != std::string::npos,
                 device.entry->name + ": its description lacks the serial number " +
                     serial.value_or( "" ) + ": " + there.text );
        subject.world().set( knob, "0" );
        settle( { device } );
        const Answer absent = askSlot( device );
        require( absent.status == PL_STATUS_NOT_PRESENT,
                 statusText( absent ) + " and not 1, and the slot is empty" );
        require( !absent.isWritten, device.entry->name + ": an empty slot has a description" );
        subject.world().set( knob, "1" );
        settle( { device } );
        const Answer back = askSlot( device );
        require( back.status == PL_STATUS_OK, statusText( back ) + ", and the part is back" );
    }
    tried.requireAny();
}

std::string lampKnob( const Entry &entry ) {
    std::string name = HostTool::driverArgument( entry, "ledName" ).value_or( "status" );
    std::transform( name.begin(), name.end(), name.begin(),
                    []( unsigned char c ) { return static_cast<char>( std::tolower( c ) ); } );
    return chipOf( entry ) + "." + name;
}

/// A library may switch lamps from its timers, and a blinking lamp has a dark half.
void requireLight( const Subject &subject, const Device &device, pl_led_status setting ) {
    const std::string knob = lampKnob( *device.entry );
    const bool wanted = setting != PL_LED_OFF;
    const auto isLit = [&] { return subject.world().get( knob ).value_or( "" ) != "off"; };
    if ( isLit() != wanted ) {
        HostServices::fireTimers();
    }
    require( isLit() == wanted, device.entry->name + ": set to " + std::to_string( setting ) +
                                    ", and the lamp shows " +
                                    subject.world().get( knob ).value_or( "" ) );
}

/// Sets it, and then off. @return false when the lamp does not know the setting
bool lightsAndGoesOut( const Subject &subject, const Device &device, pl_led_status lit ) {
    for ( const pl_led_status setting : { lit, PL_LED_OFF } ) {
        const auto slot = device.as<pl_led>()->ops->setLightSetting;
        const pl_status status = slot( device.as<pl_led>(), setting );
        if ( status == PL_STATUS_INVALID && setting != PL_LED_OFF ) {
            return false;
        }
        require( status == PL_STATUS_OK, device.entry->name + ": setLightSetting( " +
                                             std::to_string( setting ) + " ): status " +
                                             std::to_string( status ) );
        requireLight( subject, device, setting );
    }
    return true;
}

// Which settings a lamp can show is its driver's matter: off, and one that is lit. No more of them
// are tried than are needed: a lamp that is switched often passes for one that blinks.
void requireLamp( const Subject &subject, const Device &device ) {
    bool wasLit = false;
    for ( const pl_led_status lit : { PL_LED_GOOD, PL_LED_BAD } ) {
        wasLit = lightsAndGoesOut( subject, device, lit ) || wasLit;
    }
    for ( const pl_led_status lit : { PL_LED_WARNING, PL_LED_BEACON } ) {
        wasLit = wasLit || lightsAndGoesOut( subject, device, lit );
    }
    require( wasLit, device.entry->name + ": it knows no setting that lights it" );
}

void lamps( Subject &subject ) {
    Tried tried( "a lamp" );
    for ( const Device &device : subject.devices( DeviceClass::led ) ) {
        if ( !subject.world().get( lampKnob( *device.entry ) ) ) {
            continue;
        }
        if ( device.as<pl_led>()->ops->setLightSetting == nullptr ) {
            tried.passOver( device.entry->name + ": setLightSetting is null" );
            continue;
        }
        tried.one();
        requireLamp( subject, device );
    }
    tried.requireAny();
}

void requireLines( Subject &subject, Tried &tried ) {
    for ( const Device &device : subject.devices( DeviceClass::gpio ) ) {
        const auto status = subject.world().number( chipOf( *device.entry ) + ".status" );
        const auto bit = HostTool::driverNumber( *device.entry, "bitpos" );
        if ( status && bit ) {
            tried.one();
            const unsigned value = ( static_cast<unsigned>( *status ) >> ( *bit % 32 ) ) & 1U;
            settle( { device } );
            requireValue( readOne( device ), value, 0 );
        }
    }
}

void lines( Subject &subject ) {
    Tried tried( "a register of lines" );
    const World &world = subject.world();
    requireLines( subject, tried );
    for ( const Device &supply : subject.devices( DeviceClass::psu ) ) {
        const std::string knob = chipOf( *supply.entry ) + ".present";
        if ( world.get( knob ) ) {
            world.set( knob, "0" );
            requireLines( subject, tried );
            world.set( knob, "1" );
            requireLines( subject, tried );
        }
    }
    tried.requireAny();
}

// Where modules have their serial number, in bytes from the start of what 0x50 shows.
constexpr unsigned char serialPlaces[] = { 196, 68 };

/// Whether the bytes at one of the places are the module's serial number.
bool hasSerial( const Device &device, const std::string &serial ) {
    auto *const smbus = device.as<pl_smbus>();
    bool isFound = false;
    for ( const unsigned char place : serialPlaces ) {
        std::array<unsigned char, 16> data = {};
        const pl_status status = smbus->ops->i2cBlockRead( smbus, place, data.data(), data.size() );
        require( status == PL_STATUS_OK,
                 device.entry->name + ": i2cBlockRead: status " + std::to_string( status ) );
        const std::string text( data.begin(), data.end() );
        isFound = isFound || text.starts_with( serial );
        unsigned char byte = 0;
        require(
            smbus->ops->readByte == nullptr ||
                ( smbus->ops->readByte( smbus, place, &byte ) == PL_STATUS_OK && byte == data[0] ),
            device.entry->name + ": readByte gives another byte than i2cBlockRead" );
    }
    return isFound;
}

void rawChips( Subject &subject ) {
    Tried tried( "a module with a serial number" );
    for ( const Device &device : subject.devices( DeviceClass::smbus ) ) {
        const std::string module = withoutEnding( device.entry->name, "-module" );
        const auto serial = subject.world().get( module + ".serial" );
        if ( !serial || subject.world().number( module + ".present" ) != 1.0 ) {
            continue;
        }
        if ( device.as<pl_smbus>()->ops->i2cBlockRead == nullptr ) {
            tried.passOver( device.entry->name + ": i2cBlockRead is null" );
            continue;
        }
        tried.one();
        require( hasSerial( device, *serial ), device.entry->name + ": the serial number " +
                                                   *serial + " is not where modules have it" );
    }
    tried.requireAny();
}

} // namespace

Checks valueChecks() {
    return {
        { "values.temperature", "a temperature is the one of the world, below zero too",
          "fans and alarms follow it", temperatures },
        { "values.thresholds", "a sensor's chip has the thresholds that it was added with",
          "it warns by itself when the host does not", thresholds },
        { "values.fan", "a fan turns as it was told, and reads as it turns",
          "cooling is what a switch cannot do without", fanSpeeds },
        { "values.supply", "a supply's voltages, currents, powers and state are those of the world",
          "hosts share the load, and bill it", supplies },
        { "values.slot", "a slot describes the part that is in it, and says when there is none",
          "hosts manage a part by its description", slots },
        { "values.cage-presence", "a cage tells whether a module is in it", "ports come up by it",
          cagePresence },
        { "values.cage-inputs", "the lines that a module drives are those of the world",
          "links go down by them", cageInputs },
        { "values.cage-outputs", "the lines that the host drives reach the module",
          "a module that stays in reset is a port that is lost", cageOutputs },
        { "values.lamp", "a lamp shows light when it is told to, and none when it is off",
          "technicians pull the part whose lamp is lit", lamps },
        { "values.line", "a line is its bit of the register", "slots are judged by lines", lines },
        { "values.raw", "raw access reads the bytes of the chip",
          "diagnostics see what no driver knows", rawChips },
    };
}

} // namespace Conformance
