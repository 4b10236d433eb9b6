#pragma once

#include <cstdint>

/// The chips' number formats in whole numbers, as their data sheets have them, to hold the
/// library's arithmetic against.
namespace Property {

/// The low bits of a word as a two's complement number.
constexpr int signedBits( uint32_t word, unsigned bits ) {
    const uint32_t field = word & ( ( uint32_t{ 1 } << bits ) - 1 );
    const auto limit = int64_t{ 1 } << ( bits - 1 );
    return static_cast<int>( field < limit ? field : field - 2 * limit );
}

/// Values of the linear formats are counted in 2^-16.
constexpr int64_t linear( int mantissa, int exponent ) {
    return int64_t{ mantissa } * ( int64_t{ 1 } << ( exponent + 16 ) );
}
constexpr int64_t linear11( uint16_t word ) {
    return linear( signedBits( word, 11 ), signedBits( word >> 11U, 5 ) );
}
constexpr double fromLinear( int64_t value ) {
    return static_cast<double>( value ) / 65536;
}

/// An LM75's word, low byte first on the wire, in half degrees: the half goes away from zero.
constexpr int halfDegrees( uint16_t word ) {
    const int whole = signedBits( word, 8 );
    const int half = word >> 15;
    return 2 * whole + ( whole < 0 ? -half : half );
}

/// The word that is written for a limit in 1/256 degrees: the whole part is cut to 8 bits, the rest
/// counted in halves, a quarter up, and its lowest bit is kept. A sign fills the upper byte.
constexpr uint16_t limitWord( int parts ) {
    const int whole = signedBits( static_cast<uint32_t>( parts / 256 ), 8 );
    const int rest = 2 * ( parts - 256 * whole );
    const int halves = ( rest < 0 ? rest - 128 : rest + 128 ) / 256;
    return static_cast<uint16_t>( static_cast<uint32_t>( whole ) | static_cast<uint32_t>( halves )
                                                                       << 15 );
}

} // namespace Property
