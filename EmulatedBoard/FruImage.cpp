// All areas are in units of 8 bytes, and the bytes of each add up to 0.
//
//     Common header   0 format version   1 internal use   2 chassis   3 board   4 product
//                     5 multi-record     6 pad            7 checksum
//     Product area    0 format version   1 length in units   2 language   3 fields, end mark, pad,
//                     checksum
//     Field           7 .. 6 type   5 .. 0 length; then so many bytes
#include "EmulatedBoard/FruImage.h"

#include <numeric>

namespace EmulatedBoard {

namespace {

using Bytes = std::vector<uint8_t>;

constexpr size_t areaUnit = 8;
constexpr uint8_t formatVersion = 1;
constexpr uint8_t english = 25;
constexpr uint8_t latinText = 0xc0; // type 3: 8-bit ASCII and Latin 1, when the language is English
constexpr uint8_t endOfFields = 0xc1;
constexpr uint8_t headerUnits = 1;

void appendChecksum( Bytes &bytes ) {
    const unsigned sum = std::accumulate( bytes.begin(), bytes.end(), 0U );
    bytes.push_back( static_cast<uint8_t>( -sum ) );
}

Bytes productArea( std::span<const std::string> fields ) {
    Bytes area = { formatVersion, 0, english };
    for ( std::string field : fields ) {
        field.resize( field.size() == 1 ? 2 : field.size(), ' ' );
        area.push_back( static_cast<uint8_t>( latinText | field.size() ) );
        area.insert( area.end(), field.begin(), field.end() );
    }
    area.push_back( endOfFields );
    while ( ( area.size() + 1 ) % areaUnit != 0 ) {
        area.push_back( 0 );
    }
    area[1] = static_cast<uint8_t>( ( area.size() + 1 ) / areaUnit );
    appendChecksum( area );
    return area;
}

} // namespace

std::vector<uint8_t> fruImage( std::span<const std::string> fields ) {
    Bytes image = { formatVersion, 0, 0, 0, headerUnits, 0, 0 };
    appendChecksum( image );
    const Bytes area = productArea( fields );
    image.insert( image.end(), area.begin(), area.end() );
    return image;
}

} // namespace EmulatedBoard
