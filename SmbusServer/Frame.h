#pragma once

#include <cstddef>
#include <cstdint>

namespace SmbusServer {

/// A frame is the payload's length, four bytes with the highest first, and the payload.
constexpr size_t frameHeader = 4;
constexpr size_t largestPayload = 1 << 20;
constexpr size_t largestFrame = frameHeader + largestPayload;

inline size_t payloadLength( const char *header ) {
    size_t length = 0;
    for ( size_t i = 0; i < frameHeader; ++i ) {
        length = length << 8 | static_cast<uint8_t>( header[i] );
    }
    return length;
}

inline void payloadLengthIs( char *header, size_t length ) {
    for ( size_t i = 0; i < frameHeader; ++i ) {
        header[i] = static_cast<char>( length >> ( 8 * ( frameHeader - 1 - i ) ) & 0xff );
    }
}

} // namespace SmbusServer
