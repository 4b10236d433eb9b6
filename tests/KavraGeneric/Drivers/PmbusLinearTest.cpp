#include "KavraGeneric/Drivers/Drivers.h"
#include "tests/KavraGeneric/Drivers/ChipHam.h"
#include "tests/KavraGeneric/Drivers/PmbusFixture.h"

#include <cmath>

namespace {

using Drivers::Pmbus;

double signedBits( unsigned content, int bits ) {
    const auto field = static_cast<double>( content & ( ( 1U << bits ) - 1 ) );
    return field < std::ldexp( 1, bits - 1 ) ? field : field - std::ldexp( 1, bits );
}

double linear11( unsigned word ) {
    return std::ldexp( signedBits( word, 11 ), static_cast<int>( signedBits( word >> 11, 5 ) ) );
}

/// A supply right behind its access method: no socket, no traces.
class PmbusChipTest : public LibraryFixture {
  protected:
    PmbusChipTest() { host().traceDropped = true; }

    Pmbus &supply( const std::string &voutExponent = "255" ) {
        Drivers::DriverArgs args;
        args.driver = "Pmbus";
        args.did = nextDid++;
        args.driverArgs["voutExponent"] = voutExponent;
        return dynamic_cast<Pmbus &>( *Component::HardwareDevice::create( args, &chip ) );
    }

    unsigned mode = 0;
    unsigned word = 0;
    unsigned nextDid = 1;
    ChipHam chip{ [this]( unsigned, unsigned length ) {
        return length == 1 ? std::string( 1, static_cast<char>( mode ) ) : wordBytes( word );
    } };
};

TEST_F( PmbusChipTest, EveryLinear11WordHasItsValue ) {
    Pmbus &pmbus = supply();
    for ( word = 0; word < 0x10000; ++word ) {
        float value = 0;
        ASSERT_EQ( PL_STATUS_OK, pmbus.get_input_voltage( &value ) );
        ASSERT_EQ( linear11( word ), static_cast<double>( value ) ) << word;
    }
}

TEST_F( PmbusChipTest, EveryTemperatureBelowZeroReadsAsZero ) {
    Pmbus &pmbus = supply();
    for ( word = 0; word < 0x10000; ++word ) {
        float value = -1;
        ASSERT_EQ( PL_STATUS_OK, pmbus.getTemperature( 0x8D, &value ) );
        ASSERT_EQ( std::max( linear11( word ), 0.0 ), static_cast<double>( value ) ) << word;
    }
}

TEST_F( PmbusChipTest, EveryVoutModeHasItsFormat ) {
    Pmbus &pmbus = supply();
    for ( mode = 0; mode < 256; ++mode ) {
        for ( word = 0; word < 0x10000; word += 0x111 ) {
            double expected = -999;
            if ( mode < 0x20 ) {
                expected =
                    std::ldexp( signedBits( word, 16 ), static_cast<int>( signedBits( mode, 5 ) ) );
            } else if ( mode == 0xFF ) {
                expected = linear11( word );
            }
            float value = -999;
            ASSERT_EQ( PL_STATUS_OK, pmbus.get_output_voltage( &value ) );
            ASSERT_EQ( expected, static_cast<double>( value ) ) << mode << ' ' << word;
        }
    }
}

TEST_F( PmbusChipTest, EveryExponentOfTheArgumentsTakesTheModesPlace ) {
    word = 0x0C00;
    mode = 0x17;
    for ( unsigned exponent = 0; exponent < 255; ++exponent ) {
        float value = 0;
        EXPECT_EQ( PL_STATUS_OK,
                   supply( std::to_string( exponent ) ).get_output_voltage( &value ) );
        EXPECT_EQ( std::ldexp( 0x0C00, static_cast<int>( signedBits( exponent, 5 ) ) ),
                   static_cast<double>( value ) )
            << exponent;
    }
}

TEST_F( PmbusChipTest, ExponentIsKeptAsEightBitsAnd255MeansNone ) {
    word = 0x0C00;
    mode = 0x17;
    const struct {
        const char *text;
        float volts;
    } rows[] = { { "255", 6 },   { "-1", 6 },   { "511", 6 },   { "30", 768 },
                 { "286", 768 }, { "-2", 768 }, { "30 V", 768 } };
    for ( const auto &row : rows ) {
        float value = 0;
        supply( row.text ).get_output_voltage( &value );
        EXPECT_EQ( row.volts, value ) << row.text;
    }
}

TEST_F( PmbusChipTest, ExponentOfTheArgumentsIsForLinearModesOnly ) {
    word = 0xD3C0;
    mode = 0xFF;
    float value = 0;
    supply( "30" ).get_output_voltage( &value );
    EXPECT_EQ( 15.0F, value );
}

TEST_F( PmbusChipTest, LinearNumbersOfEveryWidth ) {
    for ( uint8_t mantissaBits = 1; mantissaBits <= 16; ++mantissaBits ) {
        for ( uint8_t exponentBits = 1; exponentBits <= 8; ++exponentBits ) {
            for ( unsigned content = 0; content < 0x10000; content += 0x0101 ) {
                const auto raw = static_cast<uint16_t>( content );
                const auto exponent = static_cast<uint8_t>( content );
                const double expected =
                    std::ldexp( signedBits( raw, mantissaBits ),
                                static_cast<int>( signedBits( exponent, exponentBits ) ) );
                ASSERT_EQ( static_cast<float>( expected ),
                           Pmbus::linearToReal( raw, exponent, mantissaBits, exponentBits ) )
                    << raw << ' ' << unsigned{ mantissaBits } << ' ' << unsigned{ exponentBits };
            }
        }
    }
}

} // namespace
