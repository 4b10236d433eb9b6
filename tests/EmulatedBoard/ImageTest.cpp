#include "EmulatedBoard/FruImage.h"
#include "EmulatedBoard/TlvImage.h"

#include <array>
#include <fstream>
#include <gtest/gtest.h>
#include <iterator>
#include <numeric>

using namespace EmulatedBoard;

using Bytes = std::vector<uint8_t>;

static unsigned sumOf( const Bytes &bytes, size_t first, size_t count ) {
    const auto start = bytes.begin() + static_cast<std::ptrdiff_t>( first );
    return std::accumulate( start, start + static_cast<std::ptrdiff_t>( count ), 0U ) % 256;
}

// The product area that ipmitool made of these fields; tests/data/fru/make-psu-image tells how.
TEST( FruImageTest, IsWhatTheIndependentToolMakes ) {
    const std::array<std::string, 6> fields = { "ACME POWER", "DPS550AB6A",     "PN-550-6",
                                                "S3F",        "GTVD1615001656", "A-17" };
    const Bytes image = fruImage( fields );
    std::ifstream file( TEST_DATA_DIR "/fru/psu.bin", std::ios::binary );
    Bytes expected{ std::istreambuf_iterator<char>( file ), {} };
    ASSERT_LE( image.size(), expected.size() );
    expected.resize( image.size() );
    EXPECT_EQ( Bytes( expected.begin() + 8, expected.end() ),
               Bytes( image.begin() + 8, image.end() ) );
}

TEST( FruImageTest, AreasAreWholeUnitsThatAddUpToZero ) {
    for ( size_t length = 0; length <= 63; ++length ) {
        const std::array<std::string, 2> fields = { std::string( length, 'x' ), "y" };
        const Bytes image = fruImage( fields );
        ASSERT_EQ( image.size(), 8u + image[9] * 8u ) << length;
        ASSERT_EQ( 0u, sumOf( image, 0, 8 ) ) << length;
        ASSERT_EQ( 0u, sumOf( image, 8, image.size() - 8 ) ) << length;
    }
}

TEST( FruImageTest, FieldOfOneCharacterIsNoEndMark ) {
    const std::array<std::string, 1> fields = { "A" };
    const Bytes image = fruImage( fields );
    EXPECT_EQ( ( Bytes{ 0xc2, 'A', ' ', 0xc1 } ), Bytes( image.begin() + 11, image.begin() + 15 ) );
}

TEST( TlvImageTest, IsTheExampleOfTheFormat ) {
    const std::array<Tlv, 2> entries = { { { Tlv::partNumber, "AB" }, { Tlv::serialNumber, "" } } };
    const Bytes image = tlvImage( entries );
    const Bytes front = { 'T', 'l',  'v', 'I', 'n', 'f',  'o', 0,    1, 0,
                          12,  0x22, 2,   'A', 'B', 0x23, 0,   0xfe, 4 };
    ASSERT_EQ( front.size() + 4, image.size() );
    EXPECT_EQ( front, Bytes( image.begin(), image.end() - 4 ) );
}

/// Bit by bit, as the standard writes the polynomial.
static uint32_t crcOf( const uint8_t *bytes, size_t count ) {
    uint32_t crc = 0xffffffff;
    for ( size_t at = 0; at < count; ++at ) {
        crc ^= bytes[at];
        for ( int bit = 0; bit < 8; ++bit ) {
            crc = crc >> 1 ^ ( ( crc & 1 ) != 0 ? 0xedb88320 : 0 );
        }
    }
    return ~crc;
}

TEST( TlvImageTest, EndsInTheCrcOfAllBefore ) {
    const std::array<Tlv, 1> entries = { { { Tlv::productName, std::string( 255, 'z' ) } } };
    const Bytes image = tlvImage( entries );
    EXPECT_EQ( 1, image[9] ); // 257 and 6 bytes
    EXPECT_EQ( 7, image[10] );
    const uint32_t crc = crcOf( image.data(), image.size() - 4 );
    const Bytes expected = { static_cast<uint8_t>( crc >> 24 ), static_cast<uint8_t>( crc >> 16 ),
                             static_cast<uint8_t>( crc >> 8 ), static_cast<uint8_t>( crc ) };
    EXPECT_EQ( expected, Bytes( image.end() - 4, image.end() ) );
}
