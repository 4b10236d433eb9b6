#include "KavraGeneric/Drivers/Vunda/VundaTSystemLedCPLD.h"

#include "tests/KavraGeneric/Components/Layout.h"
#include "tests/KavraGeneric/Drivers/Vunda/VundaFixture.h"

#include <gmock/gmock.h>
#include <stdexcept>

namespace {

using Drivers::VundaTSystemLedCPLD;
using testing::StrEq;
using testing::ThrowsMessage;

constexpr auto aboveAll = static_cast<pl_led_status>( 7 );
constexpr auto farAbove = static_cast<pl_led_status>( 0xFFFF'FFFF );

class VundaTSystemLedCPLDTest : public VundaTest {
  protected:
    static pl_led *newLed( const std::string &driverArgs ) {
        return pl_led_add( arguments( "VundaTSystemLedCPLD", driverArgs ) );
    }
    void addLed( const std::string &driverArgs = R"("reg": "65", "id": "2")" ) {
        led = newLed( driverArgs );
        forgetAll();
    }
    pl_status set( pl_led_status setting ) { return led->ops->setLightSetting( led, setting ); }

    static FakeHost::Timer &blinkTimer() { return *host().timers.at( 0 ); }
    static size_t blinking() {
        host().lines.clear();
        host().tick( blinkTimer() );
        const std::string first = host().lines.front().text;
        return std::stoul( first.substr( first.find( "notifying" ) + 10 ) );
    }

    pl_led *led = nullptr;
};

TEST_F( VundaTSystemLedCPLDTest, CreationIsTraced ) {
    newLed( R"("reg": 65, "id": 2)" );
    EXPECT_EQ( ( Strings{ "Creating VundaTSystemLedCPLD device",
                          "Creating new VundaTSystemLedCpld Status LED with id 2" } ),
               host().texts( 5 ) );
    EXPECT_EQ( Strings{}, batches() );
    EXPECT_EQ( 1U, host().timers.size() );
}

TEST_F( VundaTSystemLedCPLDTest, EachSettingIsOneByte ) {
    const struct {
        pl_led_status setting;
        const char *batch;
    } rows[] = {
        { PL_LED_OFF, "60[41]=83" },     { PL_LED_GOOD, "60[41]=82" },
        { PL_LED_WARNING, "60[41]=80" }, { PL_LED_BAD, "60[41]=81" },
        { PL_LED_UNKNOWN, "60[41]=83" }, { PL_LED_BEACON, "60[41]=82" },
    };
    addLed();
    for ( const auto &row : rows ) {
        forgetAll();
        EXPECT_EQ( PL_STATUS_OK, set( row.setting ) );
        EXPECT_EQ( Strings{ row.batch }, batches() );
        EXPECT_FALSE( lastRequest().request( 0 ).flag() );
    }
    EXPECT_EQ( std::vector<int>{ 1000 }, blinkTimer().periods );
}

TEST_F( VundaTSystemLedCPLDTest, BlinkingLampFollowsThePhase ) {
    addLed();
    set( PL_LED_BEACON );
    forgetAll();
    for ( int i = 0; i < 3; ++i ) {
        host().tick( blinkTimer() );
    }
    EXPECT_EQ( ( Strings{ "60[41]=82", "60[41]=02", "60[41]=82" } ), batches() );
    EXPECT_TRUE( blinkTimer().armed );
}

TEST_F( VundaTSystemLedCPLDTest, EverySettingFromEveryState ) {
    const struct {
        pl_led_status setting;
        pl_status status;
        Strings batches;
    } rows[] = {
        { PL_LED_OFF, 0, { "60[41]=83" } },
        { PL_LED_GOOD, 0, { "60[41]=82" } },
        { PL_LED_WARNING, 0, { "60[41]=80" } },
        { PL_LED_BAD, 0, { "60[41]=81" } },
        { PL_LED_INACTIVE, 3, {} },
        { PL_LED_UNKNOWN, 0, { "60[41]=83" } },
        { PL_LED_BEACON, 0, { "60[41]=82" } },
        { aboveAll, 3, {} },
        { farAbove, 3, {} },
    };
    for ( const auto &from : rows ) {
        for ( const auto &to : rows ) {
            SCOPED_TRACE( std::to_string( from.setting ) + " to " + std::to_string( to.setting ) );
            addLed();
            set( from.setting );
            forgetAll();
            const bool stays = from.setting == PL_LED_BEACON && to.setting == PL_LED_BEACON;
            EXPECT_EQ( to.status, set( to.setting ) );
            EXPECT_EQ( stays ? Strings{} : to.batches, batches() );
            EXPECT_EQ( to.setting == PL_LED_BEACON ? 1U : 0U, blinking() );
            set( PL_LED_OFF );
        }
    }
}

TEST_F( VundaTSystemLedCPLDTest, LampBlinksAgainAfterAnyOtherSetting ) {
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

TEST_F( VundaTSystemLedCPLDTest, SettingIsTracedByName ) {
    const char *names[] = { "Off", "Good", "Warning", "Bad", "Inactive", "Unknown", "Beacon" };
    addLed();
    for ( unsigned setting = 0; setting < std::size( names ); ++setting ) {
        host().lines.clear();
        set( static_cast<pl_led_status>( setting ) );
        EXPECT_EQ(
            Strings{ std::string( "setting CPLD System Diag/LOC Led 2 to " ) + names[setting] },
            host().texts( 6 ) );
    }
}

TEST_F( VundaTSystemLedCPLDTest, UnexpectedSettingIsTraced ) {
    addLed();
    set( PL_LED_INACTIVE );
    EXPECT_EQ( Strings{ "led 2 was given an unexpected setting 4" }, host().texts( 0 ) );
    host().lines.clear();
    set( aboveAll );
    EXPECT_EQ( Strings{ "led 2 was given an unexpected setting 7" }, host().texts( 0 ) );
    EXPECT_EQ( Strings{}, host().texts( 6 ) );
    host().lines.clear();
    set( farAbove );
    EXPECT_EQ( Strings{ "led 2 was given an unexpected setting -1" }, host().texts( 0 ) );
}

TEST_F( VundaTSystemLedCPLDTest, FailedWriteIsTracedAndPassedOn ) {
    addLed();
    answerFailed( "" );
    EXPECT_EQ( PL_STATUS_FAILED, set( PL_LED_GOOD ) );
    EXPECT_EQ( "Setting status for VundaTStatusLed 2 failed.", host().texts( 6 ).back() );
    EXPECT_EQ( Strings{}, host().texts( 0 ) );
    dropReply();
    EXPECT_EQ( PL_STATUS_IO_ERROR, set( PL_LED_GOOD ) );
}

TEST_F( VundaTSystemLedCPLDTest, FailedWriteDoesNotUndoTheBlinking ) {
    addLed();
    answerFailed( "" );
    EXPECT_EQ( PL_STATUS_FAILED, set( PL_LED_BEACON ) );
    EXPECT_EQ( 1U, blinking() );
    answerFailed( "" );
    EXPECT_EQ( PL_STATUS_FAILED, set( PL_LED_OFF ) );
    EXPECT_EQ( 0U, blinking() );
}

TEST_F( VundaTSystemLedCPLDTest, FailedTickIsTracedAndTheLampBlinksOn ) {
    addLed();
    set( PL_LED_BEACON );
    for ( int i = 0; i < 2; ++i ) {
        forgetAll();
        answerFailed( "" );
        host().tick( blinkTimer() );
        EXPECT_EQ( Strings{ "Error: failed to toggle led 2 for blinking" }, host().texts( 0 ) );
    }
    EXPECT_EQ( 1U, blinking() );
}

TEST_F( VundaTSystemLedCPLDTest, OtherRegistersAreRefused ) {
    for ( const char *reg : { "\"66\"", "64", "0", "-65", "\"0x41\"", "\"0101\"" } ) {
        host().lines.clear();
        EXPECT_EQ( nullptr, newLed( R"("id": 2, "reg": )" + std::string( reg ) ) ) << reg;
        const Strings texts = host().texts( 0 );
        EXPECT_EQ( ( Strings{ "Error: failed to find driverArg for VundaTSystemLedCpld::newLed",
                              "newLed() failed" } ),
                   Strings( texts.end() - 2, texts.end() ) );
    }
}

TEST_F( VundaTSystemLedCPLDTest, NumbersAreDecimalAndCutToAByte ) {
    const struct {
        const char *driverArgs;
        int id;
    } rows[] = {
        { R"("reg": " 65", "id": "+3")", 3 },   { R"("reg": "65xyz", "id": "4th")", 4 },
        { R"("reg": "+65", "id": -1)", 255 },   { R"("reg": 321, "id": 258)", 2 },
        { R"("reg": "0065", "id": "0x5")", 0 }, { R"("reg": 65.5, "id": 6.5)", 6 },
        { R"("reg": -191, "id": 7)", 7 },
    };
    for ( const auto &row : rows ) {
        SCOPED_TRACE( row.driverArgs );
        addLed( row.driverArgs );
        ASSERT_NE( nullptr, led );
        EXPECT_EQ( row.id, Layout::wordAt<uint8_t>( led, 40 ) );
        EXPECT_EQ( 0x41, Layout::wordAt<uint8_t>( led, 41 ) );
    }
}

TEST_F( VundaTSystemLedCPLDTest, LampNeedsBothArguments ) {
    for ( const char *driverArgs : { R"("id": 2)", R"("reg": 65)", R"("reg": 66)", "" } ) {
        SCOPED_TRACE( driverArgs );
        EXPECT_THAT( [&] { newLed( driverArgs ); },
                     ThrowsMessage<std::out_of_range>( StrEq( "map::at" ) ) );
    }
}

TEST_F( VundaTSystemLedCPLDTest, ArgumentsMustBeNumbers ) {
    for ( const char *json : { "\"\"", "\"x\"", "null", "false", "{}" } ) {
        SCOPED_TRACE( json );
        const std::string text = json;
        EXPECT_THAT( [&] { newLed( R"("id": 2, "reg": )" + text ); },
                     ThrowsMessage<std::invalid_argument>( StrEq( "stoi" ) ) );
        EXPECT_THAT( [&] { newLed( R"("reg": 65, "id": )" + text ); },
                     ThrowsMessage<std::invalid_argument>( StrEq( "stoi" ) ) );
    }
    EXPECT_THAT( [&] { newLed( R"("reg": 65, "id": 2147483648)" ); },
                 ThrowsMessage<std::out_of_range>( StrEq( "stoi" ) ) );
}

TEST_F( VundaTSystemLedCPLDTest, LampKeepsItsPlaceBehindTheRecord ) {
    addLed();
    EXPECT_TRUE( Layout::wordAt<bool>( led, 24 ) );
    EXPECT_EQ( &device<VundaTSystemLedCPLD>(),
               Layout::wordAt<const VundaTSystemLedCPLD *>( led, 32 ) );
    EXPECT_EQ( 2, Layout::wordAt<uint8_t>( led, 40 ) );
    EXPECT_FALSE( Layout::wordAt<bool>( led, 42 ) );
}

} // namespace
