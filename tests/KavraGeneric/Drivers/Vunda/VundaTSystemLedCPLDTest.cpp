#include "KavraGeneric/Drivers/Vunda/VundaTSystemLedCPLD.h"

#include "tests/KavraGeneric/Components/Layout.h"
#include "tests/KavraGeneric/Drivers/Vunda/LedFixture.h"

#include <gmock/gmock.h>
#include <stdexcept>

namespace {

using Drivers::VundaTSystemLedCPLD;
using testing::StrEq;
using testing::ThrowsMessage;

class VundaTSystemLedCPLDTest : public LampTest {
  protected:
    static pl_led *newLed( const std::string &driverArgs ) {
        return LampTest::newLed( "VundaTSystemLedCPLD", driverArgs );
    }
    void addLed( const std::string &driverArgs = R"("reg": "65", "id": "2")" ) {
        LampTest::addLed( "VundaTSystemLedCPLD", driverArgs );
    }
};

TEST_F( VundaTSystemLedCPLDTest, CreationIsTraced ) {
    newLed( R"("reg": 65, "id": 2)" );
    EXPECT_EQ( ( Strings{ "Creating VundaTSystemLedCPLD device",
                          "Creating new VundaTSystemLedCpld Status LED with id 2" } ),
               host().texts( 5 ) );
    EXPECT_EQ( Strings{}, batches() );
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
}

TEST_F( VundaTSystemLedCPLDTest, BlinkingLampFollowsThePhase ) {
    addLed();
    set( PL_LED_BEACON );
    forgetAll();
    for ( int i = 0; i < 3; ++i ) {
        tick();
    }
    EXPECT_EQ( ( Strings{ "60[41]=82", "60[41]=02", "60[41]=82" } ), batches() );
    EXPECT_TRUE( blinkTimer().armed );
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

TEST_F( VundaTSystemLedCPLDTest, BothArgumentsAreLookedUpBeforeTheyAreRead ) {
    EXPECT_THAT( [&] { newLed( R"("reg": "x")" ); },
                 ThrowsMessage<std::out_of_range>( StrEq( "map::at" ) ) );
}

TEST_F( VundaTSystemLedCPLDTest, ArgumentsMustBeNumbers ) {
    for ( const char *json : { "\"\"", "\" \"", "\"-\"", "\"x\"", "null", "false", "{}" } ) {
        SCOPED_TRACE( json );
        const std::string text = json;
        EXPECT_THAT( [&] { newLed( R"("id": 2, "reg": )" + text ); },
                     ThrowsMessage<std::invalid_argument>( StrEq( "stoi" ) ) );
        EXPECT_THAT( [&] { newLed( R"("reg": 65, "id": )" + text ); },
                     ThrowsMessage<std::invalid_argument>( StrEq( "stoi" ) ) );
    }
}

TEST_F( VundaTSystemLedCPLDTest, ArgumentsMustFitAnInt ) {
    for ( const char *json : { "2147483648", "\"-2147483649\"", "\"99999999999\"" } ) {
        SCOPED_TRACE( json );
        const std::string text = json;
        EXPECT_THAT( [&] { newLed( R"("id": 2, "reg": )" + text ); },
                     ThrowsMessage<std::out_of_range>( StrEq( "stoi" ) ) );
        EXPECT_THAT( [&] { newLed( R"("reg": 65, "id": )" + text ); },
                     ThrowsMessage<std::out_of_range>( StrEq( "stoi" ) ) );
    }
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
