#pragma once

#include <cstdint>
#include <span>

namespace EmulatedBoard {

/// LINEAR11: bits 15 to 11 are an exponent, bits 10 to 0 a mantissa, both two's complement. The
/// smallest exponent that the value leaves room for is taken; a value that none does is cut.
uint16_t toLinear11( double value );
double fromLinear11( uint16_t word );

/// LINEAR16: an unsigned mantissa to an exponent that is agreed upon, below 0 and above 65535 cut.
uint16_t toLinear16( double value, int exponent );

/// The packet error code of SMBus: a CRC-8 with the polynomial x^8 + x^2 + x + 1.
/// @param crc that of the bytes before these, 0 for none
uint8_t packetErrorCode( std::span<const uint8_t> bytes, uint8_t crc = 0 );

} // namespace EmulatedBoard
