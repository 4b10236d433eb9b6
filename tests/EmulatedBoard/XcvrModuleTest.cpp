#include "EmulatedBoard/QsfpModule.h"
#include "EmulatedBoard/SfpModule.h"
#include "tests/EmulatedBoard/ChipOnBus.h"

#include <numeric>

using namespace EmulatedBoard;

template <class Type>
class ModuleTest : public ChipOnBus<Type, 0x50> {
  protected:
    std::vector<uint8_t> bytes( uint8_t offset, size_t count ) {
        std::vector<uint8_t> in( count );
        EXPECT_EQ( Bus::Result::Done, this->bus.writeRead( 0x50, { &offset, 1 }, in ) );
        return in;
    }
    std::string text( uint8_t offset, size_t count ) {
        const std::vector<uint8_t> in = bytes( offset, count );
        return { in.begin(), in.end() };
    }
    unsigned sum( uint8_t first, uint8_t last ) {
        const std::vector<uint8_t> in = bytes( first, last - first + 1U );
        return std::accumulate( in.begin(), in.end(), 0U ) & 0xff;
    }
    void drive( std::string_view name, bool asserted ) {
        for ( const XcvrModule::Line &line : this->chip->lines() ) {
            if ( line.name == name ) {
                line.drive( *this->chip, asserted );
            }
        }
    }
};

class QsfpModuleTest : public ModuleTest<QsfpModule> {};
class SfpModuleTest : public ModuleTest<SfpModule> {};

TEST_F( QsfpModuleTest, TellsWhatItIs ) {
    set( "manufacturer", "ACME" );
    set( "model", "QSFP-40G-SR4" );
    set( "revision", "1A" );
    set( "serial", "0123456789ABCDEF" );
    EXPECT_EQ( "0d", read( 0, 1 ) );
    EXPECT_EQ( "0d", read( 128, 1 ) );
    EXPECT_EQ( "ACME            ", text( 148, 16 ) );
    EXPECT_EQ( "QSFP-40G-SR4    1A", text( 168, 18 ) );
    EXPECT_EQ( "0123456789ABCDEF", text( 196, 16 ) );
    EXPECT_FALSE( set( "serial", "0123456789ABCDEFG" ) );
    EXPECT_FALSE( set( "revision", "1A2" ) );
}

TEST_F( QsfpModuleTest, CheckCodesAreRight ) {
    set( "serial", "XKA0001" );
    EXPECT_EQ( sum( 128, 190 ), bytes( 191, 1 )[0] );
    EXPECT_EQ( sum( 192, 222 ), bytes( 223, 1 )[0] );
    EXPECT_NE( 0, bytes( 223, 1 )[0] );
}

TEST_F( QsfpModuleTest, StatusShowsTheInterruptPin ) {
    EXPECT_EQ( "06", read( 2, 1 ) );
    set( "interrupt", "1" );
    EXPECT_EQ( "04", read( 2, 1 ) );
}

TEST_F( QsfpModuleTest, TellsWhatItCanDo ) {
    EXPECT_EQ( "0d 06", read( 0, 2 ) );
    EXPECT_EQ( "0c 04 00 00 00 00 00 00 00 05 67", read( 130, 11 ) );
    EXPECT_EQ( "32", read( 143, 1 ) );
    EXPECT_EQ( "42 68", read( 186, 2 ) ) << "850 nm";
}

TEST_F( QsfpModuleTest, AddressStartsAnewWhenItIsPluggedIn ) {
    write( { 140 } );
    set( "present", "0" );
    set( "present", "1" );
    std::vector<uint8_t> one( 1 );
    bus.read( 0x50, one );
    EXPECT_EQ( "0d", hexOf( one ) );
}

TEST_F( QsfpModuleTest, AnswersNothingInReset ) {
    write( { 140 } );
    drive( "reset", true );
    EXPECT_EQ( "no acknowledge", read( 0, 1 ) );
    std::vector<uint8_t> one( 1 );
    EXPECT_EQ( Bus::Result::NoAcknowledge, bus.read( 0x50, one ) );
    EXPECT_EQ( "1", get( "present" ) );
    drive( "reset", false );
    EXPECT_EQ( Bus::Result::Done, bus.read( 0x50, one ) );
    EXPECT_EQ( "0d", hexOf( one ) ) << "the address starts anew";
}

TEST_F( QsfpModuleTest, OneThatIsNotThereAnswersNothing ) {
    set( "present", "0" );
    EXPECT_EQ( "no acknowledge", read( 0, 1 ) );
}

TEST_F( QsfpModuleTest, WritesAreDroppedAndReadsWrap ) {
    EXPECT_EQ( Bus::Result::Done, write( { 127, 0x02 } ) );
    EXPECT_EQ( "00 0d", read( 127, 2 ) ) << "there is one upper page";
    EXPECT_EQ( "00 0d", read( 255, 2 ) );
}

TEST_F( SfpModuleTest, TellsWhatItIs ) {
    set( "manufacturer", "ACME" );
    set( "model", "SFP-10G-SR" );
    set( "revision", "A001" );
    set( "serial", "XKA0033" );
    EXPECT_EQ( "03 04 07", read( 0, 3 ) );
    EXPECT_EQ( "ACME            ", text( 20, 16 ) );
    EXPECT_EQ( "SFP-10G-SR      A001", text( 40, 20 ) );
    EXPECT_EQ( "XKA0033         ", text( 68, 16 ) );
    EXPECT_EQ( "00", read( 92, 1 ) ) << "no diagnostics";
}

TEST_F( SfpModuleTest, TellsWhatItCanDo ) {
    EXPECT_EQ( "10 00 00 00 00 00 00 00 06 67", read( 3, 10 ) );
    EXPECT_EQ( "1e", read( 19, 1 ) );
    EXPECT_EQ( "03 52", read( 60, 2 ) ) << "850 nm";
    EXPECT_EQ( "1a", read( 65, 1 ) ) << "the lines that it has";
}

TEST_F( SfpModuleTest, CheckCodesAreRight ) {
    set( "serial", "XKA0033" );
    EXPECT_EQ( sum( 0, 62 ), bytes( 63, 1 )[0] );
    EXPECT_EQ( sum( 64, 94 ), bytes( 95, 1 )[0] );
}

TEST_F( SfpModuleTest, AnswersWhenItsTransmitterIsOff ) {
    drive( "tx_disable", true );
    EXPECT_EQ( "1", get( "tx_disable" ) );
    EXPECT_EQ( "03", read( 0, 1 ) );
}

TEST_F( SfpModuleTest, LinesThatItDrivesCannotBeDriven ) {
    std::string driven;
    for ( const XcvrModule::Line &line : chip->lines() ) {
        driven += line.drive == nullptr ? "" : std::string( line.name ) + " ";
    }
    EXPECT_EQ( "tx_disable ", driven );
}
