#include "EmulatedBoard/PmbusFormat.h"

#include <array>
#include <cmath>
#include <gtest/gtest.h>
#include <string_view>

using namespace EmulatedBoard;

TEST( PmbusFormatTest, EveryLinear11WordIsMantissaTimesAPowerOfTwo ) {
    for ( int exponent = -16; exponent <= 15; ++exponent ) {
        for ( int mantissa = -1024; mantissa <= 1023; ++mantissa ) {
            const unsigned word =
                ( static_cast<unsigned>( exponent ) & 0x1f ) << 11 | ( mantissa & 0x7ff );
            ASSERT_EQ( mantissa * std::pow( 2.0, exponent ),
                       fromLinear11( static_cast<uint16_t>( word ) ) )
                << word;
        }
    }
}

TEST( PmbusFormatTest, Linear11IsAsExactAsTenBitsAllow ) {
    for ( double value = 0.016; value < 30000; value *= 1.0137 ) {
        for ( const double each : { value, -value } ) {
            ASSERT_NEAR( each, fromLinear11( toLinear11( each ) ), value / 1000 ) << each;
        }
    }
}

TEST( PmbusFormatTest, Linear11TakesTheSmallestExponent ) {
    EXPECT_EQ( 0x8000, toLinear11( 0 ) );
    EXPECT_EQ( 0xd3c0, toLinear11( 15 ) );  // 960 x 2^-6
    EXPECT_EQ( 0xfbfe, toLinear11( 511 ) ); // 1022 x 2^-1
    EXPECT_EQ( 0x03ff, toLinear11( 1023 ) );
    EXPECT_EQ( 0x0a00, toLinear11( 1024 ) ); // 512 x 2^1
}

TEST( PmbusFormatTest, EveryWordThatTakesTheSmallestExponentComesBack ) {
    for ( unsigned word = 0; word < 0x10000; ++word ) {
        const auto given = static_cast<uint16_t>( word );
        ASSERT_EQ( fromLinear11( given ), fromLinear11( toLinear11( fromLinear11( given ) ) ) );
        if ( toLinear11( fromLinear11( given ) ) != given ) {
            // Half of the range of a smaller exponent's mantissa, or 0.
            const int low = ( given & 0x7ff ) < 0x400 ? given & 0x7ff : ( given & 0x7ff ) - 0x800;
            ASSERT_TRUE( low >= -512 && low < 512 ) << word;
        }
    }
}

TEST( PmbusFormatTest, Linear11OfWhatDoesNotFitIsTheOutermostWord ) {
    EXPECT_EQ( 0x7bff, toLinear11( 1e9 ) ); // 1023 x 2^15
    EXPECT_EQ( 0x7c00, toLinear11( -1e9 ) );
    EXPECT_EQ( 0x7bff, toLinear11( 1023.9 * 32768 ) );
}

TEST( PmbusFormatTest, Linear16IsUnsignedAndCut ) {
    EXPECT_EQ( 0x0c00, toLinear16( 6, -9 ) );
    EXPECT_EQ( 0, toLinear16( -1, -9 ) );
    EXPECT_EQ( 0xffff, toLinear16( 200, -9 ) );
}

TEST( PmbusFormatTest, PacketErrorCodeIsTheCrc8OfItsCheckValue ) {
    std::array<uint8_t, 9> digits;
    std::string_view( "123456789" ).copy( reinterpret_cast<char *>( digits.data() ), 9 );
    EXPECT_EQ( 0xf4, packetErrorCode( digits ) );
    EXPECT_EQ( 0xf4, packetErrorCode( std::span( digits ).subspan( 4 ),
                                      packetErrorCode( std::span( digits ).first( 4 ) ) ) );
}
