// Fan logic: 8-bit registers, the number counts on in longer transfers.
//
//     0x01          version, read only
//     0x0f          bays, read only: bit 0 is bay 1, pulled up, a tray pulls it low
//     0x10          straps, read only: bit 0 is bay 1, pulled up, low from back to front
//     0x11          duty of all rotors: ( code + 1 ) / 16, code in bits 3 to 0
//     0x12 .. 0x17  front rotors of bays 1 to 6, read only: turns in 0.6 s, 100 rpm a count
//     0x22 .. 0x27  rear rotors, the same
//     0x33          control: stays as it is written
#include "EmulatedBoard/FanCpld.h"

#include <algorithm>
#include <cmath>
#include <utility>

namespace EmulatedBoard {

namespace {

enum Register : uint8_t {
    Version = 0x01,
    Bays = 0x0f,
    Straps = 0x10,
    Duty = 0x11,
    FrontRotors = 0x12,
    RearRotors = 0x22,
    Control = 0x33,
};
constexpr uint8_t noRegister = 0xff;
constexpr unsigned noBays = 0xc0; // the lines of the two bits without a bay are pulled up too

constexpr unsigned dutyMask = 0x0f;
constexpr double dutySteps = 16;
constexpr uint8_t dutyAfterPowerOn = 0x07; // half
constexpr uint8_t controlAfterPowerOn = 0x01;

constexpr double rpmPerCount = 100;
constexpr double highestCount = 0xff;

constexpr double longestAdvance = 3600;
constexpr double mostInertia = 60;

uint8_t countsOf( const Rotor &rotor ) {
    return static_cast<uint8_t>( std::min( rotor.rpm() / rpmPerCount, highestCount ) );
}

} // namespace

FanCpld::FanCpld( uint8_t address ) : FanCpld( address, steadySeconds ) {}

FanCpld::FanCpld( uint8_t address, Clock clock )
    : Chip( address ), clock_( std::move( clock ) ), lastLook_( clock_() ) {
    FanCpld::powerOn();
    letRun( longestAdvance );
}

void FanCpld::powerOn() {
    catchUp();
    pointer_ = 0;
    dutyCode_ = dutyAfterPowerOn;
    control_ = controlAfterPowerOn;
}

void FanCpld::catchUp() {
    const double now = clock_();
    letRun( now - std::exchange( lastLook_, now ) );
}

void FanCpld::letRun( double seconds ) {
    for ( FanTray &tray : trays_ ) {
        tray.run( seconds, ( dutyCode_ + 1 ) / dutySteps, inertia_ );
    }
}

uint8_t FanCpld::registerContent( size_t number ) const {
    if ( number >= FrontRotors && number < FrontRotors + trays_.size() ) {
        return countsOf( trays_[number - FrontRotors].front );
    }
    if ( number >= RearRotors && number < RearRotors + trays_.size() ) {
        return countsOf( trays_[number - RearRotors].rear );
    }
    switch ( number ) {
    case Version:
        return version_;
    case Bays:
        return lines( []( const FanTray &tray ) { return !tray.present(); } );
    case Straps:
        return lines( []( const FanTray &tray ) { return !tray.present() || tray.frontToBack; } );
    case Duty:
        return dutyCode_;
    case Control:
        return control_;
    default:
        return noRegister;
    }
}

uint8_t FanCpld::lines( bool ( *isHigh )( const FanTray & ) ) const {
    unsigned lines = noBays;
    for ( size_t bay = 0; bay < trays_.size(); ++bay ) {
        lines |= isHigh( trays_[bay] ) ? 1U << bay : 0U;
    }
    return static_cast<uint8_t>( lines );
}

void FanCpld::registerIs( size_t number, uint8_t content ) {
    if ( number == Duty ) {
        dutyCode_ = content & dutyMask;
    } else if ( number == Control ) {
        control_ = content;
    }
}

bool FanCpld::write( std::span<const uint8_t> bytes ) {
    catchUp();
    if ( bytes.empty() ) {
        return true;
    }
    pointer_ = bytes[0];
    for ( size_t i = 1; i < bytes.size(); ++i ) {
        registerIs( pointer_ + i - 1, bytes[i] );
    }
    return true;
}

uint8_t FanCpld::read( size_t position ) {
    catchUp();
    return registerContent( pointer_ + position );
}

std::vector<Knob> FanCpld::ownKnobs() {
    std::vector<Knob> knobs = boardKnobs();
    for ( size_t tray = 0; tray < trays_.size(); ++tray ) {
        addTrayKnobs( knobs, tray );
    }
    return knobs;
}

std::vector<Knob> FanCpld::boardKnobs() {
    return {
        readOnlyKnob( "duty", "%", "duty of all rotors as written to the chip",
                      [this] { return numberText( 100 * ( dutyCode_ + 1 ) / dutySteps ); } ),
        readOnlyKnob( "control", "", "the control register as written to the chip",
                      [this] { return registerText( control_, 2 ); } ),
        numberKnob(
            "version", "", "of the logic", 0, 255, [this] { return version_; },
            [this]( double value ) { version_ = static_cast<uint8_t>( value ); } ),
        numberKnob(
            "inertia", "s", "time constant of the rotors", 0, mostInertia,
            [this] { return inertia_; },
            [this]( double value ) {
                catchUp();
                inertia_ = value;
            } ),
        numberKnob(
            "advance", "s", "lets the rotors run on for so long at once; reads as the sum", 0,
            longestAdvance, [this] { return advanced_; },
            [this]( double value ) {
                catchUp();
                letRun( value );
                advanced_ += value;
            } ),
    };
}

void FanCpld::addTrayKnobs( std::vector<Knob> &knobs, size_t tray ) {
    FanTray &world = trays_[tray];
    const std::string name = "tray" + std::to_string( tray + 1 ) + "_";
    knobs.push_back( switchKnob(
        name + "present", "1: the tray is plugged in", [&world] { return world.present(); },
        [this, &world]( bool value ) {
            catchUp();
            world.presentIs( value );
        } ) );
    knobs.push_back( { .name = name + "airflow",
                       .unit = {},
                       .help = "front to back, or back to front: the kind of the tray",
                       .allowed = "f2b or b2f",
                       .get = [&world] { return std::string( world.frontToBack ? "f2b" : "b2f" ); },
                       .set =
                           [&world]( std::string_view value ) {
                               if ( value != "f2b" && value != "b2f" ) {
                                   return false;
                               }
                               world.frontToBack = value == "f2b";
                               return true;
                           } } );
    addRotorKnobs( knobs, name + "front_", world.front );
    addRotorKnobs( knobs, name + "rear_", world.rear );
}

void FanCpld::addRotorKnobs( std::vector<Knob> &knobs, const std::string &name, Rotor &rotor ) {
    knobs.push_back( numberKnob(
        name + "wear", "%", "0: new; 100: worn out", 0, 100, [&rotor] { return rotor.wear; },
        [this, &rotor]( double value ) {
            catchUp();
            rotor.wear = value;
        } ) );
    knobs.push_back( switchKnob(
        name + "blocked", "1: something holds the rotor", [&rotor] { return rotor.blocked; },
        [this, &rotor]( bool value ) {
            catchUp();
            rotor.blocked = value;
        } ) );
    knobs.push_back(
        readOnlyKnob( name + "speed", "rpm", "of the rotor at this moment", [this, &rotor] {
            catchUp();
            return numberText( std::round( rotor.rpm() ) );
        } ) );
}

} // namespace EmulatedBoard
