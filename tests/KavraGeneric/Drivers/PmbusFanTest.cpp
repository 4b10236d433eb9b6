#include "tests/KavraGeneric/Components/Layout.h"
#include "tests/KavraGeneric/Drivers/PmbusFixture.h"

#include <limits>

namespace {

using Drivers::Pmbus;
using PmbusFanTest = PmbusTest;
using PmbusFanDeathTest = PmbusTest;

TEST_F( PmbusFanTest, SpeedIsReadWhenTheFanHasNoFault ) {
    const struct {
        const char *arguments;
        Strings batches;
    } rows[] = {
        { R"("fanId": 1, "maxFanRpm": 20000)", { "58[81]x1", "58[90]x2" } },
        { R"("fanId": 2, "maxFanRpm": 20000)", { "58[81]x1", "58[91]x2" } },
    };
    for ( const auto &row : rows ) {
        addFan( row.arguments );
        forget();
        answer( { bytes( 0x3F ) } );
        answer( { word( 0x2233 ) } ); // 563 * 2^4
        EXPECT_EQ( PL_STATUS_OK, rpm() );
        EXPECT_EQ( 9008, number );
        EXPECT_EQ( row.batches, batches() );
    }
}

TEST_F( PmbusFanTest, FanWithAFaultIsABadReading ) {
    const struct {
        const char *arguments;
        int fault;
        pl_status status;
    } rows[] = {
        { R"("fanId": 1, "maxFanRpm": 20000)", 0x80, PL_STATUS_BAD_READING },
        { R"("fanId": 1, "maxFanRpm": 20000)", 0x40, PL_STATUS_OK },
        { R"("fanId": 2, "maxFanRpm": 20000)", 0x40, PL_STATUS_BAD_READING },
        { R"("fanId": 2, "maxFanRpm": 20000)", 0x80, PL_STATUS_OK },
    };
    for ( const auto &row : rows ) {
        addFan( row.arguments );
        forget();
        number = -999;
        answer( { bytes( row.fault ) } );
        EXPECT_EQ( row.status, rpm() );
        EXPECT_EQ( row.status == PL_STATUS_OK ? 2U : 1U, batches().size() );
        EXPECT_EQ( row.status == PL_STATUS_OK ? 0 : -999, number );
    }
}

TEST_F( PmbusFanTest, SpeedIsCutToAWholeNumber ) {
    addFan();
    answer( { bytes( 0 ) } );
    answer( { word( 0xF807 ) } ); // 7 * 2^-1
    EXPECT_EQ( PL_STATUS_OK, rpm() );
    EXPECT_EQ( 3, number );
}

TEST_F( PmbusFanTest, NegativeSpeedIsWrittenTracedAndRefused ) {
    addFan( R"("fanId": 2, "maxFanRpm": 20000)" );
    answer( { bytes( 0 ) } );
    answer( { word( 0x07FF ) } );
    EXPECT_EQ( PL_STATUS_IO_ERROR, rpm() );
    EXPECT_EQ( -1, number );
    EXPECT_TRUE( host().traced( 0, "Pmbus::Fan1 Invalid RPM reading: -1" ) );
}

TEST_F( PmbusFanTest, SpeedBetweenMinusOneAndZeroIsZero ) {
    addFan();
    answer( { bytes( 0 ) } );
    answer( { word( 0xFFFF ) } ); // -1 * 2^-1
    EXPECT_EQ( PL_STATUS_OK, rpm() );
    EXPECT_EQ( 0, number );
}

TEST_F( PmbusFanTest, FailedSpeedIsPassedOnAndKeepsTheOutput ) {
    addFan();
    answerFailed( "" );
    EXPECT_EQ( PL_STATUS_FAILED, rpm() );
    answer( { bytes( 0 ) } );
    dropReply();
    EXPECT_EQ( PL_STATUS_IO_ERROR, rpm() );
    EXPECT_EQ( -999, number );
}

TEST_F( PmbusFanTest, SpeedIsSetInPercentOfTheMaximum ) {
    const struct {
        int speed;
        const char *batch;
        const char *trace;
    } rows[] = {
        { 5000, "58[3b]=1900", "Setting fan 0 duty cycle to 25" },
        { 0, "58[3b]=0000", "Setting fan 0 duty cycle to 0" },
        { 199, "58[3b]=0000", "Setting fan 0 duty cycle to 0" },
        { 20000, "58[3b]=6400", "Setting fan 0 duty cycle to 100" },
        { 20200, "58[3b]=6400", "Setting fan 0 duty cycle to 101" },
        { 30000, "58[3b]=6400", "Setting fan 0 duty cycle to 150" },
        { -199, "58[3b]=0000", "Setting fan 0 duty cycle to 0" },
        { -200, "58[3b]=6400", "Setting fan 0 duty cycle to -1" },
        { 65536 * 200, "58[3b]=0000", "Setting fan 0 duty cycle to 65536" },
        { std::numeric_limits<int>::max(), "58[3b]=6400", "Setting fan 0 duty cycle to 10737418" },
    };
    addFan();
    for ( const auto &row : rows ) {
        SCOPED_TRACE( row.speed );
        host().lines.clear();
        EXPECT_EQ( PL_STATUS_OK, setRpm( row.speed ) );
        EXPECT_EQ( row.batch, lastBatch() );
        EXPECT_EQ( Strings{ row.trace }, host().texts( 6 ) );
        EXPECT_FALSE( lastRequest().request( 0 ).flag() );
    }
}

TEST_F( PmbusFanTest, EverySpeedHasItsDuty ) {
    addFan( R"("fanId": 1, "maxFanRpm": 20000)" );
    host().traceDropped = true;
    for ( int speed = -400; speed <= 22000; speed += 37 ) {
        const int percent = speed / 200;
        const int expected = percent < 0 || percent > 100 ? 100 : percent;
        setRpm( speed );
        ASSERT_EQ( wordBytes( static_cast<unsigned>( expected ) ),
                   lastRequest().request( 0 ).data() )
            << speed;
    }
}

TEST_F( PmbusFanTest, SecondFanHasItsOwnCommandAndItsFlag ) {
    addFan( R"("fanId": "2", "maxFanRpm": "10000", "pec": true)" );
    EXPECT_EQ( PL_STATUS_OK, setRpm( 2500 ) );
    EXPECT_EQ( "58[3c]=1900", lastBatch() );
    EXPECT_TRUE( lastRequest().request( 0 ).flag() );
    EXPECT_TRUE( host().traced( 6, "Setting fan 1 duty cycle to 25" ) );
}

TEST_F( PmbusFanTest, PecIsAskedForByTheWordTrueAlone ) {
    for ( const char *pec : { "false", "1", "\"True\"", "\"yes\"" } ) {
        addFan( R"("fanId": 1, "maxFanRpm": 20000, "pec": )" + std::string( pec ) );
        setRpm( 0 );
        EXPECT_FALSE( lastRequest().request( 0 ).flag() ) << pec;
    }
}

TEST_F( PmbusFanTest, FailedSettingIsTracedAndPassedOn ) {
    addFan();
    answerFailed( "" );
    EXPECT_EQ( PL_STATUS_FAILED, setRpm( 30000 ) );
    EXPECT_TRUE( host().traced( 0, "Failed to set fan0 duty cycle to 150" ) );
    addFan( R"("fanId": 2, "maxFanRpm": 20000)" );
    dropReply();
    EXPECT_EQ( PL_STATUS_IO_ERROR, setRpm( 5000 ) );
    EXPECT_TRUE( host().traced( 0, "Failed to set fan1 duty cycle to 25" ) );
}

TEST_F( PmbusFanTest, FanKeepsItsNumbersBehindTheRecord ) {
    addFan( R"("fanId": 2, "maxFanRpm": 12345, "pec": true)" );
    EXPECT_EQ( &device(), Layout::wordAt<const Pmbus *>( fan, 24 ) );
    EXPECT_EQ( 1, Layout::wordAt<uint8_t>( fan, 32 ) );
    EXPECT_EQ( 12345, Layout::wordAt<int32_t>( fan, 36 ) );
    EXPECT_EQ( 0x91, Layout::wordAt<uint8_t>( fan, 40 ) );
    EXPECT_EQ( 0x3C, Layout::wordAt<uint8_t>( fan, 41 ) );
    EXPECT_EQ( 0x40, Layout::wordAt<uint8_t>( fan, 42 ) );
    EXPECT_TRUE( Layout::wordAt<bool>( fan, 43 ) );
}

TEST_F( PmbusFanDeathTest, FanWithoutItsNumberStops ) {
    EXPECT_DEATH(
        addFan( R"("maxFanRpm": 20000)" ),
        "Assertion `args.driverArgs.find\\( \"fanId\" \\) != args.driverArgs.end\\(\\)'" );
}

TEST_F( PmbusFanDeathTest, SpeedOfAFanWithAMaximumOfZeroStops ) {
    const auto dies = [this] {
        addFan( R"("fanId": 1, "maxFanRpm": 0)" );
        setRpm( 5000 );
    };
    EXPECT_DEATH( dies(), "Assertion `fan.maxFanRpm\\(\\) != 0' failed" );
}

TEST_F( PmbusFanDeathTest, FanWithoutItsMaximumStops ) {
    EXPECT_DEATH(
        addFan( R"("fanId": 1)" ),
        "Assertion `args.driverArgs.find\\( \"maxFanRpm\" \\) != args.driverArgs.end\\(\\)'" );
}

TEST_F( PmbusFanDeathTest, FanBeyondTheTwoStops ) {
    for ( const char *id : { "0", "3", "-1", "257" } ) {
        EXPECT_DEATH( addFan( R"("maxFanRpm": 20000, "fanId": )" + std::string( id ) ),
                      "Assertion `fanId == 1 \\|\\| fanId == 2' failed" );
    }
}

} // namespace
