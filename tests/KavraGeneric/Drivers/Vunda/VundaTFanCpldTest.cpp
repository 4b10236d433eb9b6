// The fans: starting the CPLD, reading and setting speeds. Trays have a test of their own.
#include "KavraGeneric/Drivers/Drivers.h"
#include "tests/KavraGeneric/Components/Layout.h"
#include "tests/KavraGeneric/Drivers/Vunda/FanFixture.h"
#include "tests/KavraGeneric/Ham/RecordingHam.h"

#include <algorithm>
#include <gmock/gmock.h>
#include <limits>
#include <stdexcept>

namespace {

using testing::StrEq;
using testing::ThrowsMessage;
using VundaTFanCpldTest = FanTest;

// The write takes the place of the version's read, and is performed twice.
TEST_F( VundaTFanCpldTest, StartWritesTwiceAndReadsNothing ) {
    newFan( fanId( 1 ) );
    EXPECT_EQ( ( Strings{ "60[33]=00", "60[33]=00" } ), batches() );
    EXPECT_FALSE( lastRequest().request( 0 ).flag() );
}

TEST_F( VundaTFanCpldTest, StartQueuesTheVersionsReadBeforeTheWrite ) {
    RecordingHam ham;
    Drivers::DriverArgs args;
    args.driver = "VundaTFanCpld";
    Component::HardwareDevice::create( args, &ham );
    EXPECT_EQ( "prepare addRead8(1) prepare addWrite8(33,0,0) execute execute get8(5)", ham.log );
    EXPECT_TRUE( host().traced( 0, "Fan CPLD version 18" ) );
}

TEST_F( VundaTFanCpldTest, StartBehindMuxesEndsWithTheirResetsTwice ) {
    newFan( fanId( 1 ), 8 );
    EXPECT_EQ( ( Strings{ "70=04 | 71=08 | 60[33]=00 | 71=00 | 70=00",
                          "70=04 | 71=08 | 60[33]=00 | 71=00 | 70=00 | 71=00 | 70=00" } ),
               batches() );
}

TEST_F( VundaTFanCpldTest, VersionIsTheByteOfTheSecondAnswer ) {
    answer( { bytes( 0x11 ) } );
    answer( { bytes( 0x2A ) } );
    newFan( fanId( 1 ) );
    EXPECT_TRUE( host().traced( 0, "Fan CPLD version 2a" ) );
}

TEST_F( VundaTFanCpldTest, VersionIsZeroOnAServerThatAnswersAWriteWithItsByte ) {
    newFan( fanId( 1 ) );
    EXPECT_TRUE( host().traced( 0, "Fan CPLD version 00" ) );
    EXPECT_TRUE( host().traced( 0, "Creating VundaTFanCpld Device" ) );
}

TEST_F( VundaTFanCpldTest, FailedWriteAtTheStartIsNotLookedAt ) {
    answerFailed( "" );
    newFan( fanId( 1 ) );
    EXPECT_TRUE( host().traced( 0, "Fan CPLD version 00" ) );
}

TEST_F( VundaTFanCpldTest, DeviceThatFailedToStartStaysUsable ) {
    answerFailed( "" );
    answerFailed( "" );
    fan = newFan( fanId( 1 ) );
    EXPECT_TRUE( host().traced( 0, "VundaTZCommonFanCpld failed to initialize" ) );
    ASSERT_NE( nullptr, fan );
    answer( { bytes( 100 ), bytes( 100 ) } );
    EXPECT_EQ( PL_STATUS_OK, getRpm() );
    EXPECT_EQ( 10000, rpm );
}

TEST_F( VundaTFanCpldTest, EachFanHasItsTwoTachometers ) {
    const char *expected[] = {
        "60[12]x1 | 60[22]x1", "60[13]x1 | 60[23]x1", "60[14]x1 | 60[24]x1",
        "60[15]x1 | 60[25]x1", "60[16]x1 | 60[26]x1", "60[17]x1 | 60[27]x1"
    };
    for ( int id = 1; id <= 6; ++id ) {
        addFan( id );
        getRpm();
        EXPECT_EQ( Strings{ expected[id - 1] }, batches() );
    }
}

TEST_F( VundaTFanCpldTest, SpeedIsTheMeanInHundredsWithTheHalfDropped ) {
    const struct {
        int front, rear, rpm;
    } rows[] = {
        { 101, 100, 10000 }, { 100, 100, 10000 }, { 1, 1, 100 },     { 1, 2, 100 },
        { 2, 1, 100 },       { 255, 255, 25500 }, { 255, 1, 12800 },
    };
    addFan();
    for ( const auto &row : rows ) {
        answer( { bytes( row.front ), bytes( row.rear ) } );
        EXPECT_EQ( PL_STATUS_OK, getRpm() );
        EXPECT_EQ( row.rpm, rpm );
    }
}

TEST_F( VundaTFanCpldTest, StandingRotorIsABadReading ) {
    addFan();
    for ( const auto &[front, rear] : { std::pair( 0, 50 ), { 50, 0 }, { 0, 0 } } ) {
        answer( { bytes( front ), bytes( rear ) } );
        EXPECT_EQ( PL_STATUS_BAD_READING, getRpm() );
        EXPECT_EQ( untouched, rpm );
    }
}

TEST_F( VundaTFanCpldTest, FailedSpeedIsPassedOnAndKeepsTheOutput ) {
    addFan();
    answerFailed( "" );
    EXPECT_EQ( PL_STATUS_FAILED, getRpm() );
    dropReply();
    EXPECT_EQ( PL_STATUS_IO_ERROR, getRpm() );
    EXPECT_EQ( untouched, rpm );
}

TEST_F( VundaTFanCpldTest, SpeedIsSetInSixteenSteps ) {
    const struct {
        int rpm;
        const char *batch;
        const char *trace;
    } rows[] = {
        { 19750, "60[11]=0f", "setFanRpm, rpm=19750, dutyCycle= 100.00, regVal=15" },
        { 30000, "60[11]=0f", "setFanRpm, rpm=19750, dutyCycle= 100.00, regVal=15" },
        { 19751, "60[11]=0f", "setFanRpm, rpm=19750, dutyCycle= 100.00, regVal=15" },
        { 19749, "60[11]=0e", "setFanRpm, rpm=19749, dutyCycle= 99.99, regVal=14" },
        { 9875, "60[11]=07", "setFanRpm, rpm=9875, dutyCycle= 50.00, regVal=7" },
        { 2469, "60[11]=01", "setFanRpm, rpm=2469, dutyCycle= 12.50, regVal=1" },
        { 2468, "60[11]=00", "setFanRpm, rpm=2468, dutyCycle= 12.50, regVal=0" },
        { 1234, "60[11]=00", "setFanRpm, rpm=1234, dutyCycle= 6.25, regVal=0" },
        { 1, "60[11]=00", "setFanRpm, rpm=1, dutyCycle= 0.01, regVal=0" },
        { 0, "60[11]=ff", "setFanRpm, rpm=0, dutyCycle= 0.00, regVal=-1" },
        { -1, "60[11]=ff", "setFanRpm, rpm=-1, dutyCycle= -0.01, regVal=-1" },
        { -19750, "60[11]=ef", "setFanRpm, rpm=-19750, dutyCycle= -100.00, regVal=-17" },
    };
    addFan( 3 );
    for ( const auto &row : rows ) {
        forgetAll();
        EXPECT_EQ( PL_STATUS_OK, setRpm( row.rpm ) );
        EXPECT_EQ( Strings{ row.batch }, batches() );
        EXPECT_EQ( Strings{ row.trace }, host().texts( 5 ) );
        EXPECT_FALSE( lastRequest().request( 0 ).flag() );
    }
}

// The reference is exact, in integers: a step is 19750 / 16 rpm, the first one is 0, and what is
// left of a step is cut off toward zero.
TEST_F( VundaTFanCpldTest, EverySpeedHasItsStep ) {
    addFan();
    host().traceDropped = true;
    for ( int speed = -1000; speed <= 65535; ++speed ) {
        const int within = std::min( speed, 19750 );
        const int step = ( within * 16 - 19750 ) / 19750;
        ASSERT_EQ( PL_STATUS_OK, setRpm( speed ) );
        ASSERT_EQ( std::string( 1, static_cast<char>( step ) ), lastRequest().request( 0 ).data() )
            << speed;
        if ( speed % 1024 == 0 ) {
            forget(); // what was recorded
        }
    }
}

TEST_F( VundaTFanCpldTest, SpeedsBeyondReasonDoNotHarm ) {
    addFan();
    EXPECT_EQ( PL_STATUS_OK, setRpm( std::numeric_limits<int>::max() ) );
    EXPECT_EQ( "60[11]=0f", lastBatch() );
    EXPECT_EQ( PL_STATUS_OK, setRpm( std::numeric_limits<int>::min() ) ); // wraps round to 0
    EXPECT_EQ( "60[11]=ff", lastBatch() );
}

TEST_F( VundaTFanCpldTest, FailedSettingIsPassedOn ) {
    addFan();
    answerFailed( "" );
    EXPECT_EQ( PL_STATUS_FAILED, setRpm( 10000 ) );
    dropReply();
    EXPECT_EQ( PL_STATUS_IO_ERROR, setRpm( 10000 ) );
}

TEST_F( VundaTFanCpldTest, FanHasNoDebugText ) {
    addFan();
    char *text = nullptr;
    EXPECT_EQ( PL_STATUS_OK, fan->ops->debugInfo( fan, &text ) );
    EXPECT_EQ( nullptr, text );
}

TEST_F( VundaTFanCpldTest, FanIsTracedWithItsNumber ) {
    newFan( fanId( 6 ) );
    EXPECT_EQ( Strings{ "Creating new VundaTZCommonFanCpld Fan id 6" }, host().texts( 5 ) );
}

TEST_F( VundaTFanCpldTest, NumbersOfFansAndSlotsAreDecimalAndCountModulo256 ) {
    const struct {
        const char *json;
        int index;
    } rows[] = {
        { "257", 0 }, { "\"1\"", 0 },    { "\" 6\"", 5 },   { "\"2nd\"", 1 },   { "\"+3\"", 2 },
        { "4.5", 3 }, { "\"-251\"", 4 }, { "\"0006\"", 5 }, { "\"65537\"", 0 }, { "\"5 \"", 4 },
    };
    for ( const auto &row : rows ) {
        const std::string driverArgs = R"("fanId": )" + std::string( row.json );
        const pl_fan *made = newFan( driverArgs );
        EXPECT_EQ( row.index, Layout::wordAt<uint8_t>( made, 32 ) ) << row.json;
        slot = newSlot( driverArgs );
        EXPECT_EQ( row.index, Layout::wordAt<uint8_t>( slot, 24 ) ) << row.json;
    }
}

TEST_F( VundaTFanCpldTest, NumbersOfFansAndSlotsMustBeNumbers ) {
    addFan();
    for ( const char *json : { "\"\"", "\" \"", "\"-\"", "\"x\"", "null", "true", "[]" } ) {
        SCOPED_TRACE( json );
        const std::string driverArgs = R"("fanId": )" + std::string( json );
        EXPECT_THAT( [&] { newFan( driverArgs ); },
                     ThrowsMessage<std::invalid_argument>( StrEq( "stoi" ) ) );
        EXPECT_THAT( [&] { newSlot( driverArgs ); },
                     ThrowsMessage<std::invalid_argument>( StrEq( "stoi" ) ) );
    }
    for ( const char *json : { "2147483648", "\"-2147483649\"" } ) {
        SCOPED_TRACE( json );
        const std::string driverArgs = R"("fanId": )" + std::string( json );
        EXPECT_THAT( [&] { newFan( driverArgs ); },
                     ThrowsMessage<std::out_of_range>( StrEq( "stoi" ) ) );
        EXPECT_THAT( [&] { newSlot( driverArgs ); },
                     ThrowsMessage<std::out_of_range>( StrEq( "stoi" ) ) );
    }
}

TEST_F( VundaTFanCpldTest, FanKeepsItsIndexBehindTheRecord ) {
    fan = newFan( fanId( 4 ) );
    EXPECT_EQ( &cpld(), Layout::wordAt<const Drivers::VundaTFanCpld *>( fan, 24 ) );
    EXPECT_EQ( 3, Layout::wordAt<uint8_t>( fan, 32 ) );
}

TEST_F( VundaTFanCpldTest, HooksFollowTheExpectedValues ) {
    using Common = Drivers::VundaTZCommonFanCpld;
    EXPECT_EQ( 15U, Layout::virtualSlot( &Common::getFanMaxRpm ) );
    EXPECT_EQ( 16U, Layout::virtualSlot( &Common::isFrontToBackActiveHigh ) );
    EXPECT_EQ( 17U, Layout::virtualSlot( &Common::getFanModelName ) );
}

using VundaTFanCpldDeathTest = FanTest;

TEST_F( VundaTFanCpldDeathTest, FanWithoutItsNumberStops ) {
    EXPECT_DEATH(
        newFan( R"("id": 1)" ),
        "Assertion `args.driverArgs.find\\( \"fanId\" \\) != args.driverArgs.end\\(\\)'" );
}

TEST_F( VundaTFanCpldDeathTest, FanBeyondTheSixStops ) {
    for ( const char *id : { "0", "7", "-1", "256", "\"0x1\"" } ) {
        EXPECT_DEATH(
            {
                tellTracesWhenDying();
                newFan( R"("fanId": )" + std::string( id ) );
            },
            "Assertion `fanId >= 1 && fanId <= 6' failed(.|\n)*"
            "5 Creating new VundaTZCommonFanCpld Fan id " );
    }
}

// A server that answers a write with nothing leaves no byte for the version.
TEST_F( VundaTFanCpldDeathTest, AnswerWithoutAByteAtTheStartStops ) {
    EXPECT_DEATH(
        {
            answer( { text( "" ) } );
            answer( { text( "" ) } );
            newFan( fanId( 1 ) );
        },
        "Assertion `data.size\\(\\) == 1' failed" );
}

} // namespace
