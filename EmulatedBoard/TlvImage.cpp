// ONIE TlvInfo. Numbers are big-endian.
//
//     Header   0 .. 7 "TlvInfo", 0   8 format version   9 .. 10 total length of the entries
//     Entry    0 type   1 length; then so many bytes
//     CRC-32   the last entry; over everything before its value
#include "EmulatedBoard/TlvImage.h"

#include <string_view>
#include <zlib.h>

namespace EmulatedBoard {

constexpr std::string_view identification( "TlvInfo\0", 8 );
constexpr uint8_t formatVersion = 1;
constexpr uint8_t crcType = 0xfe;
constexpr uint8_t crcLength = 4;
constexpr size_t headerSize = 11;
constexpr size_t lengthOffset = 9;

static void append( std::vector<uint8_t> &image, std::string_view text ) {
    image.insert( image.end(), text.begin(), text.end() );
}

std::vector<uint8_t> tlvImage( std::span<const Tlv> entries ) {
    std::vector<uint8_t> image;
    append( image, identification );
    image.insert( image.end(), { formatVersion, 0, 0 } );
    for ( const Tlv &entry : entries ) {
        image.push_back( entry.type );
        image.push_back( static_cast<uint8_t>( entry.value.size() ) );
        append( image, entry.value );
    }
    image.insert( image.end(), { crcType, crcLength } );
    const size_t total = image.size() + crcLength - headerSize;
    image[lengthOffset] = static_cast<uint8_t>( total >> 8 );
    image[lengthOffset + 1] = static_cast<uint8_t>( total );
    const auto crc = crc32( 0, image.data(), static_cast<uInt>( image.size() ) );
    for ( unsigned shift = 32; shift > 0; ) {
        shift -= 8;
        image.push_back( static_cast<uint8_t>( crc >> shift ) );
    }
    return image;
}

} // namespace EmulatedBoard
