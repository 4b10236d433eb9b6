#include "EmulatedBoard/XcvrCpld.h"
#include "EmulatedBoard/QsfpModule.h"
#include "EmulatedBoard/SfpModule.h"
#include "tests/EmulatedBoard/ChipOnBus.h"

using namespace EmulatedBoard;

class XcvrCpldTest : public ChipOnBus<XcvrCpld, 0x60> {
  protected:
    bool connect( uint8_t reg, uint8_t bit, XcvrModule &module, std::string_view name,
                  bool activeHigh ) {
        for ( const XcvrModule::Line &line : module.lines() ) {
            if ( line.name == name ) {
                return chip->connect( { reg, bit }, module, line, activeHigh );
            }
        }
        ADD_FAILURE() << "no line " << name;
        return false;
    }

    static void turn( Chip &module, std::string_view name, std::string_view value ) {
        for ( Knob &each : module.knobs() ) {
            if ( each.name == name ) {
                EXPECT_TRUE( each.set( value ) );
            }
        }
    }

    static std::string look( Chip &module, std::string_view name ) {
        for ( const Knob &each : module.knobs() ) {
            if ( each.name == name ) {
                return each.get();
            }
        }
        return "no knob";
    }

    QsfpModule first{ 0x50 };
    QsfpModule second{ 0x50 };
    SfpModule sfp{ 0x50 };
};

TEST_F( XcvrCpldTest, PresenceFollowsTheModulesInEitherPolarity ) {
    connect( 0x10, 0, first, "presence", false );
    connect( 0x10, 1, second, "presence", false );
    connect( 0x10, 5, sfp, "presence", true );
    EXPECT_EQ( "20", read( 0x10, 1 ) );
    turn( second, "present", "0" );
    EXPECT_EQ( "22", read( 0x10, 1 ) );
    turn( sfp, "present", "0" );
    EXPECT_EQ( "02", read( 0x10, 1 ) );
}

TEST_F( XcvrCpldTest, ResetIsWrittenAndReadBack ) {
    connect( 0x14, 0, first, "reset", true );
    connect( 0x14, 1, second, "reset", false );
    EXPECT_EQ( "02", read( 0x14, 1 ) ) << "nothing is in reset at first";
    write( { 0x14, 0x01 } );
    EXPECT_EQ( "1", look( first, "reset" ) );
    EXPECT_EQ( "1", look( second, "reset" ) );
    EXPECT_EQ( "01", read( 0x14, 1 ) );
    write( { 0x14, 0xfe } );
    EXPECT_EQ( "0", look( first, "reset" ) );
    EXPECT_EQ( "02", read( 0x14, 1 ) ) << "bits without a line hold nothing";
}

TEST_F( XcvrCpldTest, StatusOfADrivenLineIsReadOnly ) {
    connect( 0x14, 3, first, "reset", true );
    connect( 0x15, 0, first, "reset_status", false );
    write( { 0x15, 0x00 } );
    EXPECT_EQ( "00 01", read( 0x14, 2 ) );
    write( { 0x14, 0x08 } );
    EXPECT_EQ( "08 00", read( 0x14, 2 ) );
}

TEST_F( XcvrCpldTest, DrivenLineStaysWhenTheModuleGoes ) {
    connect( 0x14, 0, first, "reset", true );
    write( { 0x14, 0x01 } );
    turn( first, "present", "0" );
    turn( first, "present", "1" );
    EXPECT_EQ( "01", read( 0x14, 1 ) );
    EXPECT_FALSE( first.answers() );
}

TEST_F( XcvrCpldTest, PowerOnReleasesEveryLine ) {
    connect( 0x14, 0, first, "reset", false );
    connect( 0x14, 1, sfp, "tx_disable", true );
    write( { 0x14, 0x02 } );
    write( { 0x14 } );
    chip->presentIs( false );
    chip->presentIs( true );
    std::vector<uint8_t> atPointer( 1 );
    bus.read( 0x60, atPointer );
    EXPECT_EQ( "ff", hexOf( atPointer ) ) << "the pointer starts anew";
    EXPECT_EQ( "01", read( 0x14, 1 ) );
    EXPECT_EQ( "0", look( sfp, "tx_disable" ) );
    EXPECT_EQ( "0", look( first, "reset" ) );
}

TEST_F( XcvrCpldTest, InterruptNeedsAModuleThatIsNotInReset ) {
    connect( 0x14, 0, first, "reset", true );
    connect( 0x18, 0, first, "interrupt", false );
    EXPECT_EQ( "01", read( 0x18, 1 ) );
    turn( first, "interrupt", "1" );
    EXPECT_EQ( "00", read( 0x18, 1 ) );
    write( { 0x14, 0x01 } );
    EXPECT_EQ( "01", read( 0x18, 1 ) );
    write( { 0x14, 0x00 } );
    EXPECT_EQ( "00", read( 0x18, 1 ) );
    turn( first, "present", "0" );
    EXPECT_EQ( "01", read( 0x18, 1 ) );
}

TEST_F( XcvrCpldTest, EmptySfpCageHasNoSignalAndAFault ) {
    connect( 0x20, 0, sfp, "rx_los", true );
    connect( 0x20, 1, sfp, "tx_fault", true );
    EXPECT_EQ( "00", read( 0x20, 1 ) );
    turn( sfp, "present", "0" );
    EXPECT_EQ( "03", read( 0x20, 1 ) );
}

TEST_F( XcvrCpldTest, LaserThatIsOffDoesNotFail ) {
    connect( 0x20, 1, sfp, "tx_fault", true );
    connect( 0x21, 0, sfp, "tx_disable", true );
    turn( sfp, "tx_fault", "1" );
    EXPECT_EQ( "02 00", read( 0x20, 2 ) );
    write( { 0x21, 0x01 } );
    EXPECT_EQ( "00 01", read( 0x20, 2 ) );
    turn( sfp, "rx_los", "1" );
    EXPECT_EQ( "00", read( 0x20, 1 ) ) << "that line is on no bit";
}

TEST_F( XcvrCpldTest, ABitHasOneLine ) {
    EXPECT_TRUE( connect( 0x20, 1, sfp, "tx_fault", true ) );
    EXPECT_FALSE( connect( 0x20, 1, sfp, "rx_los", true ) );
    turn( sfp, "rx_los", "1" );
    EXPECT_EQ( "00", read( 0x20, 1 ) );
}

TEST_F( XcvrCpldTest, LongWritesAndReadsGoThroughTheRegisters ) {
    connect( 0xff, 0, first, "reset", true );
    connect( 0x00, 7, second, "reset", true );
    EXPECT_EQ( Bus::Result::Done, write( { 0xff, 0x01, 0x80 } ) );
    EXPECT_EQ( "ff 01 80 ff", read( 0xfe, 4 ) );
}

TEST_F( XcvrCpldTest, QuickCommandIsAcknowledged ) {
    EXPECT_EQ( Bus::Result::Done, write( {} ) );
}
