#include "EmulatedBoard/Lm75.h"

#include <cmath>

namespace EmulatedBoard {

// The pointer's low three bits; 16-bit registers travel with the high byte first.
enum Register : uint8_t { Temperature = 0, Configuration = 1, Thyst = 2, Tos = 3 };
constexpr uint8_t pointerMask = 0x07;
constexpr unsigned shutDownBit = 0x01;
constexpr unsigned configurationMask = 0x1f; // the upper three bits are reserved
constexpr unsigned limitMask = 0xff80;       // nine bits, 0.5 °C a step
constexpr double temperatureStep = 0.125;    // eleven bits
constexpr double lowest = -55;
constexpr double highest = 125;

// Celsius in the register's upper bits: 1/256 °C is the unit of its 16 bits.
constexpr double unitsPerDegree = 256;

static uint16_t toRegister( double celsius ) {
    return static_cast<uint16_t>( static_cast<int>( std::lround( celsius * unitsPerDegree ) ) );
}

static double toCelsius( uint16_t value ) {
    return static_cast<int16_t>( value ) / unitsPerDegree;
}

Lm75::Lm75( uint8_t address ) : Chip( address ) {
    Lm75::powerOn();
}

void Lm75::powerOn() {
    pointer_ = Temperature;
    registers_ = { 0, 0, toRegister( 75 ), toRegister( 80 ) };
    convert();
}

bool Lm75::shutDown() const {
    return ( registers_[Configuration] & shutDownBit ) != 0;
}

// A part that is shut down keeps its last conversion.
void Lm75::convert() {
    if ( !shutDown() ) {
        registers_[Temperature] =
            toRegister( std::floor( temperature_ / temperatureStep ) * temperatureStep );
    }
}

void Lm75::temperatureIs( double celsius ) {
    temperature_ = celsius;
    convert();
}

bool Lm75::write( std::span<const uint8_t> bytes ) {
    if ( bytes.empty() ) {
        return true;
    }
    pointer_ = bytes[0] & pointerMask;
    if ( pointer_ == Configuration && bytes.size() > 1 ) {
        registers_[Configuration] = bytes[1] & configurationMask;
        convert();
    } else if ( ( pointer_ == Thyst || pointer_ == Tos ) && bytes.size() > 2 ) {
        const unsigned value = unsigned{ bytes[1] } << 8 | bytes[2];
        registers_[pointer_] = static_cast<uint16_t>( value & limitMask );
    }
    return true;
}

// The pointer stays: a longer read repeats the register. Pointers beyond the last register leave
// the wires alone.
uint8_t Lm75::read( size_t position ) {
    if ( pointer_ >= registers_.size() ) {
        return 0xff;
    }
    const unsigned value = registers_[pointer_];
    const bool highByte = pointer_ != Configuration && position % 2 == 0;
    return static_cast<uint8_t>( highByte ? value >> 8 : value );
}

std::vector<Knob> Lm75::ownKnobs() {
    return {
        numberKnob(
            "temperature", "°C", "temperature at the sensor", lowest, highest,
            [this] { return temperature_; }, [this]( double value ) { temperatureIs( value ); } ),
        readOnlyKnob( "thyst", "°C", "hysteresis limit as written to the chip",
                      [this] { return numberText( toCelsius( registers_[Thyst] ) ); } ),
        readOnlyKnob( "tos", "°C", "over-temperature limit as written to the chip",
                      [this] { return numberText( toCelsius( registers_[Tos] ) ); } ),
    };
}

} // namespace EmulatedBoard
