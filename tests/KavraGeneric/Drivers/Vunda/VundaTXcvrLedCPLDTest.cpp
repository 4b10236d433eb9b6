#include "KavraGeneric/Drivers/Vunda/VundaTXcvrLedCPLD.h"

#include "tests/KavraGeneric/Components/Layout.h"
#include "tests/KavraGeneric/Drivers/Vunda/VundaFixture.h"

#include <gmock/gmock.h>
#include <stdexcept>

namespace {

using Drivers::VundaTXcvrLedCPLD;
using testing::StrEq;
using testing::ThrowsMessage;

constexpr auto aboveAll = static_cast<pl_led_status>( 7 );
constexpr auto farAbove = static_cast<pl_led_status>( 0xFFFF'FFFF );

class VundaTXcvrLedCPLDTest : public VundaTest {
  protected:
    static pl_led *newLed( const std::string &driverArgs ) {
        return pl_led_add( arguments( "VundaTXcvrLedCPLD", driverArgs ) );
    }
    void addLed( const std::string &name = "Ethernet33" ) {
        led = newLed( R"("ledName": ")" + name + "\"" );
        forgetAll();
    }
    pl_status set( pl_led_status setting ) { return led->ops->setLightSetting( led, setting ); }

    /// The register's content at the next changes of a bit.
    void contents( std::vector<int> all ) {
        for ( const int content : all ) {
            answer( { bytes( content ) } );
            answer( { ok } );
        }
    }

    static FakeHost::Timer &blinkTimer() { return *host().timers.at( 0 ); }
    void tick() {
        forgetAll();
        host().tick( blinkTimer() );
    }
    /// How many lamps the next tick would call.
    static size_t blinking() {
        host().lines.clear();
        host().tick( blinkTimer() );
        const std::string first = host().lines.front().text;
        return std::stoul( first.substr( first.find( "notifying" ) + 10 ) );
    }

    static VundaTXcvrLedCPLD &cpld() { return device<VundaTXcvrLedCPLD>(); }

    pl_led *led = nullptr;
};

TEST_F( VundaTXcvrLedCPLDTest, CreationIsTraced ) {
    newLed( R"("ledName": "Ethernet33")" );
    EXPECT_EQ( Strings{ "Creating VundaTXcvrLedCPLD device" }, host().texts( 5 ) );
    EXPECT_EQ( Strings{}, batches() );
}

TEST_F( VundaTXcvrLedCPLDTest, LampMayBlink ) {
    newLed( R"("ledName": "Ethernet33")" );
    ASSERT_EQ( 1U, host().timers.size() );
    EXPECT_FALSE( blinkTimer().armed );
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
    EXPECT_EQ( std::vector<int>{ 1000 }, blinkTimer().periods );
}

TEST_F( VundaTXcvrLedCPLDTest, BlinkingLampFollowsThePhase ) {
    addLed( "Ethernet34" );
    set( PL_LED_BEACON );
    tick(); // dark
    EXPECT_EQ( ( Strings{ "60[49]x1", "60[49]=00" } ), batches() );
    forgetAll();
    contents( { 0x00, 0x80 } );
    host().tick( blinkTimer() );
    EXPECT_EQ( ( Strings{ "60[49]x1", "60[49]=80", "60[49]x1", "60[49]=88" } ), batches() );
    forgetAll();
    contents( { 0x88 } );
    host().tick( blinkTimer() );
    EXPECT_EQ( ( Strings{ "60[49]x1", "60[49]=08" } ), batches() );
    EXPECT_TRUE( blinkTimer().armed );
}

TEST_F( VundaTXcvrLedCPLDTest, BeaconTwiceRegistersOnceAndTouchesNothing ) {
    addLed();
    set( PL_LED_BEACON );
    forgetAll();
    EXPECT_EQ( PL_STATUS_OK, set( PL_LED_BEACON ) );
    EXPECT_EQ( Strings{}, batches() );
    EXPECT_EQ( 1U, blinking() );
}

// From each state to each setting: what comes back, how many batches it takes, and whether the lamp
// blinks afterwards.
TEST_F( VundaTXcvrLedCPLDTest, EverySettingFromEveryState ) {
    const struct {
        pl_led_status setting;
        pl_status status;
        size_t batches;
    } rows[] = {
        { PL_LED_OFF, 0, 2 },    { PL_LED_GOOD, 0, 4 },     { PL_LED_WARNING, 0, 4 },
        { PL_LED_BAD, 0, 4 },    { PL_LED_INACTIVE, 3, 0 }, { PL_LED_UNKNOWN, 0, 2 },
        { PL_LED_BEACON, 0, 2 }, { aboveAll, 3, 0 },        { farAbove, 3, 0 },
    };
    for ( const auto &from : rows ) {
        for ( const auto &to : rows ) {
            SCOPED_TRACE( std::to_string( from.setting ) + " to " + std::to_string( to.setting ) );
            addLed();
            set( from.setting );
            forgetAll();
            const bool stays = from.setting == PL_LED_BEACON && to.setting == PL_LED_BEACON;
            EXPECT_EQ( to.status, set( to.setting ) );
            EXPECT_EQ( stays ? 0 : to.batches, batches().size() );
            EXPECT_EQ( to.setting == PL_LED_BEACON ? 1U : 0U, blinking() );
            set( PL_LED_OFF );
        }
    }
}

TEST_F( VundaTXcvrLedCPLDTest, LampBlinksAgainAfterAnyOtherSetting ) {
    addLed();
    for ( const pl_led_status between : { PL_LED_OFF, PL_LED_GOOD, PL_LED_INACTIVE, aboveAll } ) {
        set( PL_LED_BEACON );
        set( between );
        forgetAll();
        EXPECT_EQ( PL_STATUS_OK, set( PL_LED_BEACON ) );
        EXPECT_NE( 0U, batches().size() );
        EXPECT_EQ( 1U, blinking() );
    }
}

TEST_F( VundaTXcvrLedCPLDTest, SettingIsTracedByName ) {
    const struct {
        pl_led_status setting;
        const char *name;
    } rows[] = { { PL_LED_OFF, "Off" },           { PL_LED_GOOD, "Good" },
                 { PL_LED_WARNING, "Warning" },   { PL_LED_BAD, "Bad" },
                 { PL_LED_INACTIVE, "Inactive" }, { PL_LED_UNKNOWN, "Unknown" },
                 { PL_LED_BEACON, "Beacon" },     { PL_LED_BEACON, "Beacon" } };
    addLed( "Ethernet34" );
    for ( const auto &row : rows ) {
        host().lines.clear();
        set( row.setting );
        EXPECT_EQ( Strings{ std::string( "setting CPLD SFP+ Led Ethernet34 to " ) + row.name },
                   host().texts( 5 ) );
    }
}

TEST_F( VundaTXcvrLedCPLDTest, UnexpectedSettingIsTraced ) {
    addLed();
    set( PL_LED_INACTIVE );
    EXPECT_EQ( Strings{ "led Ethernet33 was given an unexpected setting 4" }, host().texts( 0 ) );
    host().lines.clear();
    set( aboveAll );
    EXPECT_EQ( Strings{ "led Ethernet33 was given an unexpected setting 7" }, host().texts( 0 ) );
    EXPECT_EQ( Strings{}, host().texts( 5 ) );
    host().lines.clear();
    set( farAbove );
    EXPECT_EQ( Strings{ "led Ethernet33 was given an unexpected setting -1" }, host().texts( 0 ) );
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

TEST_F( VundaTXcvrLedCPLDTest, FailedWriteDoesNotUndoTheBlinking ) {
    addLed();
    answerFailed( "" );
    EXPECT_EQ( PL_STATUS_IO_ERROR, set( PL_LED_BEACON ) );
    EXPECT_EQ( 1U, blinking() );
    answerFailed( "" );
    EXPECT_EQ( PL_STATUS_IO_ERROR, set( PL_LED_OFF ) );
    EXPECT_EQ( 0U, blinking() );
}

TEST_F( VundaTXcvrLedCPLDTest, FailedTickIsTracedOnceAndTheLampBlinksOn ) {
    addLed();
    set( PL_LED_BEACON );
    tick();
    forgetAll();
    answerFailed( "" );
    answerFailed( "" );
    host().tick( blinkTimer() ); // both bits fail
    const Strings texts = host().texts( 0 );
    EXPECT_EQ( "Error: failed to toggle led Ethernet33 for blinking", texts.back() );
    EXPECT_EQ( 1, std::count( texts.begin(), texts.end(), texts.back() ) );
    forgetAll();
    answerFailed( "" );
    host().tick( blinkTimer() );
    EXPECT_EQ( "Error: failed to toggle led Ethernet33 for blinking", host().texts( 0 ).back() );
    EXPECT_EQ( 1U, blinking() );
}

TEST_F( VundaTXcvrLedCPLDTest, BothLampsBlinkInOnePhase ) {
    addLed( "Ethernet33" );
    set( PL_LED_BEACON );
    addLed( "Ethernet34" );
    set( PL_LED_BEACON );
    tick();
    EXPECT_EQ( ( Strings{ "60[49]x1", "60[49]=00", "60[49]x1", "60[49]=00" } ), batches() );
    tick();
    EXPECT_EQ( 8U, batches().size() );
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
