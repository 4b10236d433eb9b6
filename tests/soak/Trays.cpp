#include "tests/soak/Trays.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>

namespace Soak {

constexpr double dutySteps = 16;
constexpr double wornOutFriction = 0.35;
constexpr double rpmPerCount = 100;
constexpr double mostCounts = 255;
constexpr double fullSpeed = 19750; // the board's, by which a duty is asked for

// A worn rotor loses a part of the duty; it stands still when none is left.
int Trays::count( const Tray &tray, const Rotor &rotor ) const {
    const double duty = ( dutyCode_ + 1 ) / dutySteps - wornOutFriction * rotor.wear / 100;
    const bool turns = tray.present && !rotor.blocked && duty > 0;
    return turns ? static_cast<int>( std::min( rotor.fullSpeed * duty / rpmPerCount, mostCounts ) )
                 : 0;
}

// A rotor that stands still, or turns too slowly to be counted, is a bad reading.
Truth<int> Trays::speed( const Tray &tray ) const {
    const int front = count( tray, tray.front );
    const int rear = count( tray, tray.rear );
    if ( front == 0 || rear == 0 ) {
        return { PL_STATUS_BAD_READING };
    }
    return { PL_STATUS_OK, ( front + rear ) / 2 * static_cast<int>( rpmPerCount ) };
}

Truth<std::string> Trays::description( const Tray &tray, size_t number,
                                       const std::string &arguments ) {
    if ( !tray.present ) {
        return { PL_STATUS_NOT_PRESENT };
    }
    return { PL_STATUS_OK, "FruFactoryIds: PLDevice\n"
                           "device.group = 'FanTray'\n"
                           "slotId = " +
                               std::to_string( number ) +
                               "\n"
                               "device.fanTray = ( 'FanTray%d' % slotId, )\n"
                               "fanTray = device.fanTray\n"
                               "fanTray.modelName = 'FAN-1U-1x1C-" +
                               ( tray.frontToBack ? "F" : "R" ) +
                               "'\n"
                               "fanTray.serialNum = 'N/A'\n"
                               "fanTray.slotId = slotId\n"
                               "fan = fanTray.newFan( 'Fan%d' % ( slotId ) )\n"
                               "fan.airflowDirection = '" +
                               ( tray.frontToBack ? "frontToBack" : "backToFront" ) +
                               "Airflow'\n"
                               "fan.maxRpm = 19750\n"
                               "fan.p = 0\n"
                               "fan.i = 0\n"
                               "fan.libPath = ''\n"
                               "fan.devArgs = '" +
                               arguments + "'\n" };
}

// fan1 to fan6 and fan1-slot to fan6-slot.
std::unique_ptr<Device> Trays::device( const Entry &entry, void *record ) {
    if ( !entry.name.starts_with( "fan" ) ) {
        return nullptr;
    }
    const size_t number = static_cast<size_t>( entry.name[3] - '0' );
    const Tray &tray = trays_.at( number - 1 );
    if ( entry.deviceClass == "slot" ) {
        return deviceOf( [&tray, number, &arguments = entry.arguments,
                          slot = static_cast<pl_slot *>( record )]( Judge &judge ) {
            char *text = nullptr;
            const pl_status status = slot->ops->getPresence( slot, &text );
            const std::string got = text ? text : "";
            free( text );
            judge.check( "getPresence", status, got, description( tray, number, arguments ) );
        } );
    }
    anyFan_ = static_cast<pl_fan *>( record );
    return deviceOf( [this, &tray, fan = anyFan_]( Judge &judge ) {
        judge.read( "getRpm", fan, &pl_fan_ops::getRpm, speed( tray ) );
        char *text = nullptr;
        const pl_status status = fan->ops->debugInfo( fan, &text );
        judge.checkStatus( "debugInfo", text ? PL_STATUS_BAD_READING : status );
    } );
}

// Rotors that follow at once: their inertia runs by the clock on the wall.
void Trays::begin( World &world ) {
    world.setNumber( "fans.inertia", 0 );
}

void Trays::change( Random &random, World &world, std::string_view ) {
    const size_t index = random.below( trays_.size() );
    Tray &tray = trays_[index];
    const std::string knob = "fans.tray" + std::to_string( index + 1 ) + "_";
    const bool isFront = random.oneIn( 2 );
    Rotor &rotor = isFront ? tray.front : tray.rear;
    const std::string rotorKnob = knob + ( isFront ? "front_" : "rear_" );
    switch ( random.below( 4 ) ) {
    case 0: // another rotor, from new to worn out
        rotor.wear = random.between( 0, 100 );
        world.setNumber( rotorKnob + "wear", rotor.wear );
        break;
    case 1:
        rotor.blocked = !rotor.blocked && random.oneIn( 3 );
        world.setSwitch( rotorKnob + "blocked", rotor.blocked );
        break;
    default: // a tray goes; or one comes, also in the place of another, and may blow the other way
        world.setSwitch( knob + "present", false );
        tray.present = !tray.present || !random.oneIn( 3 );
        if ( tray.present ) {
            tray.frontToBack = random.oneIn( 2 );
            world.set( knob + "airflow", tray.frontToBack ? "f2b" : "b2f" );
            world.setSwitch( knob + "present", true );
        }
        break;
    }
}

// A speed in the middle of what gives one code, so that the rounding on the way does not count.
void Trays::setByHost( Random &random, Judge &judge ) {
    const int code = random.between( 0, 15 );
    const int rpm = static_cast<int>( ( code + 1.5 ) / dutySteps * fullSpeed );
    if ( judge.checkStatus( "setRpm", anyFan_->ops->setRpm( anyFan_, rpm ) ) ) {
        dutyCode_ = code;
    }
}

} // namespace Soak
