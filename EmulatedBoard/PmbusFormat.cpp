#include "EmulatedBoard/PmbusFormat.h"

#include <algorithm>
#include <cmath>

namespace EmulatedBoard {

constexpr unsigned mantissaBits = 11;
constexpr int mantissaLimit = 1 << ( mantissaBits - 1 );
constexpr unsigned mantissaMask = ( 1U << mantissaBits ) - 1;
constexpr int lowestExponent = -16;
constexpr int highestExponent = 15;
constexpr unsigned polynomial = 0x07;

uint16_t toLinear11( double value ) {
    const auto fits = [value]( int exponent ) {
        const double mantissa = std::round( std::ldexp( value, -exponent ) );
        return mantissa >= -mantissaLimit && mantissa < mantissaLimit;
    };
    int exponent = lowestExponent;
    while ( exponent < highestExponent && !fits( exponent ) ) {
        ++exponent;
    }
    const double mantissa = std::clamp( std::round( std::ldexp( value, -exponent ) ),
                                        -1.0 * mantissaLimit, mantissaLimit - 1.0 );
    const unsigned low = static_cast<unsigned>( static_cast<int>( mantissa ) ) & mantissaMask;
    return static_cast<uint16_t>( static_cast<unsigned>( exponent ) << mantissaBits | low );
}

double fromLinear11( uint16_t word ) {
    const int exponent = static_cast<int16_t>( word ) >> mantissaBits;
    const int low = word & static_cast<int>( mantissaMask );
    const int mantissa = low < mantissaLimit ? low : low - 2 * mantissaLimit;
    return std::ldexp( mantissa, exponent );
}

uint16_t toLinear16( double value, int exponent ) {
    const double mantissa = std::round( std::ldexp( value, -exponent ) );
    return static_cast<uint16_t>( std::clamp( mantissa, 0.0, 65535.0 ) );
}

uint8_t packetErrorCode( std::span<const uint8_t> bytes, uint8_t crc ) {
    unsigned sum = crc;
    for ( const uint8_t byte : bytes ) {
        sum ^= byte;
        for ( int bit = 0; bit < 8; ++bit ) {
            sum = ( sum << 1 ) ^ ( ( sum & 0x80 ) != 0 ? polynomial : 0 );
            sum &= 0xff;
        }
    }
    return static_cast<uint8_t>( sum );
}

} // namespace EmulatedBoard
