#include "KavraGeneric/Drivers/Vunda/VundaTXcvrLedCPLD.h"

#include "tests/KavraGeneric/Components/Layout.h"
#include "tests/KavraGeneric/Drivers/Vunda/LedFixture.h"

#include <gmock/gmock.h>
#include <stdexcept>

namespace {

using Drivers::VundaTXcvrLedCPLD;
using testing::StrEq;
using testing::ThrowsMessage;

class VundaTXcvrLedCPLDTest : public LampTest {
  protected:
    static pl_led *newLed( const std::string &driverArgs ) {
        return LampTest::newLed( "VundaTXcvrLedCPLD", driverArgs );
    }
    void addLed( const std::string &name = "Ethernet33" ) {
        LampTest::addLed( "VundaTXcvrLedCPLD", R"("ledName": ")" + name + "\"" );
    }

    /// The register's content at the next changes of a bit.
    void contents( std::vector<int> all ) {
        for ( const int content : all ) {
            answer( { bytes( content ) } );
            answer( { ok } );
        }
    }

    static VundaTXcvrLedCPLD &cpld() { return device<VundaTXcvrLedCPLD>(); }
};

TEST_F( VundaTXcvrLedCPLDTest, CreationIsTraced ) {
    newLed( R"("ledName": "Ethernet33")" );
    EXPECT_EQ( Strings{ "Creating VundaTXcvrLedCPLD device" }, host().texts( 5 ) );
    EXPECT_EQ( Strings{}, batches() );
}

TEST_F( VundaTXcvrLedCPLDTest, EachSettingHasItsBits ) {
    const struct {
        const char *lamp;
        pl_led_status setting;
        Strings batches; // from a register full of ones, and then of zeros
    } rows[] = {
        { "Ethernet33", PL_LED_OFF, { "bf", "00" } },
        { "Ethernet33", PL_LED_UNKNOWN, { "bf", "00" } },
        { "Ethernet33", PL_LED_GOOD, { "ff", "fb", "40", "00" } },
        { "Ethernet33", PL_LED_WARNING, { "ff", "ff", "40", "04" } },
        { "Ethernet33", PL_LED_BAD, { "ff", "ff", "40", "04" } },
        { "Ethernet34", PL_LED_OFF, { "7f", "00" } },
        { "Ethernet34", PL_LED_UNKNOWN, { "7f", "00" } },
        { "Ethernet34", PL_LED_GOOD, { "ff", "f7", "80", "00" } },
        { "Ethernet34", PL_LED_WARNING, { "ff", "ff", "80", "08" } },
        { "Ethernet34", PL_LED_BAD, { "ff", "ff", "80", "08" } },
    };
    for ( const auto &row : rows ) {
        SCOPED_TRACE( row.lamp + std::to_string( row.setting ) );
        addLed( row.lamp );
        const size_t changes = row.batches.size() / 2;
        contents( std::vector<int>( changes, 0xFF ) );
        contents( std::vector<int>( changes, 0x00 ) );
        EXPECT_EQ( PL_STATUS_OK, set( row.setting ) );
        EXPECT_EQ( PL_STATUS_OK, set( row.setting ) );
        Strings expected;
        for ( const std::string &content : row.batches ) {
            expected.insert( expected.end(), { "60[49]x1", "60[49]=" + content } );
        }
        EXPECT_EQ( expected, batches() );
        EXPECT_FALSE( lastRequest().request( 0 ).flag() );
    }
}

TEST_F( VundaTXcvrLedCPLDTest, BeaconIsDarkAtFirst ) {
    addLed();
    contents( { 0xFF } );
    EXPECT_EQ( PL_STATUS_OK, set( PL_LED_BEACON ) );
    EXPECT_EQ( ( Strings{ "60[49]x1", "60[49]=bf" } ), batches() );
}

TEST_F( VundaTXcvrLedCPLDTest, BlinkingLampFollowsThePhase ) {
    addLed( "Ethernet34" );
    set( PL_LED_BEACON );
    forgetAll();
    tick(); // dark
    EXPECT_EQ( ( Strings{ "60[49]x1", "60[49]=00" } ), batches() );
    forgetAll();
    contents( { 0x00, 0x80 } );
    tick();
    EXPECT_EQ( ( Strings{ "60[49]x1", "60[49]=80", "60[49]x1", "60[49]=88" } ), batches() );
    forgetAll();
    contents( { 0x88 } );
    tick();
    EXPECT_EQ( ( Strings{ "60[49]x1", "60[49]=08" } ), batches() );
    EXPECT_TRUE( blinkTimer().armed );
}

TEST_F( VundaTXcvrLedCPLDTest, FailedReadIsAnIoErrorAndWritesNothing ) {
    addLed();
    answerFailed( "" );
    EXPECT_EQ( PL_STATUS_IO_ERROR, set( PL_LED_OFF ) );
    EXPECT_EQ( Strings{ "60[49]x1" }, batches() );
    EXPECT_EQ( ( Strings{ "Failed to poll information for VundaTXcvrLedCPLD",
                          "Setting light status for VundaTXcvrLedCPLD LED Ethernet33 failed." } ),
               host().texts( 0 ) );
}

TEST_F( VundaTXcvrLedCPLDTest, FailedWriteIsTracedWithRegisterAndBitSwapped ) {
    addLed( "Ethernet34" );
    answer( { bytes( 0 ) } );
    answerFailed( "" );
    EXPECT_EQ( PL_STATUS_FAILED, set( PL_LED_OFF ) );
    EXPECT_EQ( ( Strings{ "Set value 0 bit 73 for reg 7 failed.",
                          "Setting light status for VundaTXcvrLedCPLD LED Ethernet34 failed." } ),
               host().texts( 0 ) );
}

TEST_F( VundaTXcvrLedCPLDTest, SecondBitIsWrittenThoughTheFirstFailed ) {
    addLed();
    answerFailed( "" );
    EXPECT_EQ( PL_STATUS_IO_ERROR, set( PL_LED_BAD ) );
    EXPECT_EQ( ( Strings{ "60[49]x1", "60[49]x1", "60[49]=04" } ), batches() );
}

TEST_F( VundaTXcvrLedCPLDTest, FirstFailureIsTheStatus ) {
    addLed();
    answerFailed( "" ); // the first bit's read: 4
    answer( { bytes( 0 ) } );
    answerFailed( "" ); // the second bit's write: 6
    EXPECT_EQ( PL_STATUS_IO_ERROR, set( PL_LED_GOOD ) );
    contents( { 0 } );
    answer( { bytes( 0 ) } );
    answerFailed( "" );
    EXPECT_EQ( PL_STATUS_FAILED, set( PL_LED_GOOD ) );
    EXPECT_EQ( "Setting light status for VundaTXcvrLedCPLD LED Ethernet33 failed.",
               host().texts( 0 ).back() );
}

TEST_F( VundaTXcvrLedCPLDTest, BothLampsBlinkInOnePhase ) {
    addLed( "Ethernet33" );
    set( PL_LED_BEACON );
    addLed( "Ethernet34" );
    set( PL_LED_BEACON );
    forgetAll();
    tick();
    EXPECT_EQ( ( Strings{ "60[49]x1", "60[49]=00", "60[49]x1", "60[49]=00" } ), batches() );
    forgetAll();
    tick();
    EXPECT_EQ( ( Strings{ "60[49]x1", "60[49]=40", "60[49]x1", "60[49]=04", "60[49]x1", "60[49]=80",
                          "60[49]x1", "60[49]=08" } ),
               batches() );
}

TEST_F( VundaTXcvrLedCPLDTest, EveryBitOfTheRegisterIsChangedAlone ) {
    addLed();
    for ( unsigned bit = 0; bit < 256; ++bit ) {
        const unsigned mask = bit % 32 < 8 ? 1U << bit % 32 : 0;
        for ( const int value : { 0, 1, -7 } ) {
            contents( { 0xA5 } );
            EXPECT_EQ( PL_STATUS_OK, cpld().setRegisterBit( static_cast<uint8_t>( bit ), value ) );
            const unsigned expected = value != 0 ? 0xA5 | mask : 0xA5 & ~mask;
            ASSERT_EQ( std::string( 1, static_cast<char>( expected ) ),
                       lastRequest().request( 0 ).data() );
        }
    }
}

TEST_F( VundaTXcvrLedCPLDTest, LampNeedsItsName ) {
    EXPECT_THAT( [&] { newLed( R"("name": "Ethernet33")" ); },
                 ThrowsMessage<std::out_of_range>( StrEq( "map::at" ) ) );
}

TEST_F( VundaTXcvrLedCPLDTest, LampKeepsItsPlaceBehindTheRecord ) {
    addLed( "Ethernet34" );
    EXPECT_TRUE( Layout::wordAt<bool>( led, 24 ) );
    EXPECT_EQ( &cpld(), Layout::wordAt<const VundaTXcvrLedCPLD *>( led, 32 ) );
    const size_t behindName = 40 + sizeof( std::string );
    EXPECT_EQ( 7, Layout::wordAt<uint8_t>( led, behindName ) );
    EXPECT_EQ( 3, Layout::wordAt<uint8_t>( led, behindName + 1 ) );
    EXPECT_FALSE( Layout::wordAt<bool>( led, behindName + 2 ) );
}

using VundaTXcvrLedCPLDDeathTest = VundaTXcvrLedCPLDTest;

TEST_F( VundaTXcvrLedCPLDDeathTest, OtherNamesStop ) {
    for ( const char *name : { "Ethernet35", "Ethernet3", "ethernet33", "Ethernet33 ", "" } ) {
        EXPECT_DEATH( addLed( name ), "Assertion `0 && \"Unexpected LED name\"' failed" );
    }
}

} // namespace
