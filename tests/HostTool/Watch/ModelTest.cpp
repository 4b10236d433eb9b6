/// What a host knows of devices over time, and how a change reads as a line.
#include "HostTool/Watch/Fields.h"
#include "HostTool/Watch/Lines.h"
#include "tests/HostTool/Watch/WatchedBoard.h"

#include <gtest/gtest.h>

using namespace HostTool;
using namespace HostTool::Watch;

class ModelTest : public testing::Test {
  protected:
    ModelTest() {
        board.add( "temp_sensor", "inlet" );
        board.add( "fan", "fan1", R"({"fanId":1})" );
        board.add( "slot", "tray1", R"({"fanId":"1"})" );
    }

    std::string lines() {
        std::string text;
        for ( const Change &change : board.changes ) {
            text += changeText( board.model(), change ) + "\n";
        }
        return text;
    }

    void tray( const char *description ) {
        board.reads( "tray1", { good( true ), good( description ), none(), none() } );
    }

    WatchedBoard board;
};

TEST_F( ModelTest, FirstReadingIsNoChange ) {
    board.reads( "inlet", { good( 24.5F ) } );
    EXPECT_EQ( "", lines() );
    EXPECT_EQ( "inlet: ok  temperature 24.5 C", firstText( board.item( "inlet" ), board.now() ) );
}

TEST_F( ModelTest, ChangeSaysWhatItWas ) {
    board.reads( "inlet", { good( 24.5F ) } );
    board.reads( "inlet", { good( 50.0F ) } );
    EXPECT_EQ( "inlet: temperature 24.5 C -> 50.0 C\ninlet: state ok -> alert\n", lines() );
    board.reads( "inlet", { good( 50.0F ) } );
    EXPECT_EQ( "", lines() );
}

TEST_F( ModelTest, FailureHasItsReasonAndKeepsTheLastGoodValue ) {
    board.reads( "inlet", { good( 24.5F ) } );
    board.pass( 5 );
    board.fails( "inlet", "no acknowledge" );
    EXPECT_EQ( "inlet: temperature 24.5 C -> --: PL_STATUS_FAILED: no acknowledge\n"
               "inlet: state ok -> failed\n",
               lines() );
    const Sample &sample = board.item( "inlet" ).samples.front();
    EXPECT_EQ( Reading::Value( 24.5F ), sample.lastGood.value );
    EXPECT_EQ( "5 s", ageText( sample.lastGoodAt, board.now() ) );
    EXPECT_FALSE( sample.reading.hasValue() );
}

TEST_F( ModelTest, LineOfJsonHasTheSame ) {
    board.reads( "inlet", { good( 24.5F ) } );
    board.fails( "inlet", "no \"ack\"" );
    EXPECT_EQ( R"({"time":1700000000.5,"name":"inlet","key":"temperature","before":"24.5 C",)"
               R"("after":"--","status":"PL_STATUS_FAILED","reason":"no \"ack\"",)"
               R"("freshness":"failed","age_s":null})",
               changeAsJson( board.model(), board.changes.front(), 1700000000.5 ) );
}

TEST_F( ModelTest, ValueThatIsNotReadAnyMoreTellsItsAge ) {
    board.reads( "inlet", { good( 24.5F ) } );
    board.pass( 5 );
    EXPECT_EQ( std::vector<std::string>( { "24.5 C" } ),
               fieldsOf( board.item( "inlet" ), board.now() ) );
    board.pass( 1 );
    EXPECT_EQ( std::vector<std::string>( { "24.5 C", "6 s old" } ),
               fieldsOf( board.item( "inlet" ), board.now() ) );
    EXPECT_EQ( std::vector<std::string>( { "temperature 24.5 C", "6 s old" } ),
               readingsOf( board.item( "inlet" ), board.now() ) );
}

TEST_F( ModelTest, PolledValueSaysWhenItWasPolled ) {
    Reading polled = good( 24.5F );
    polled.polledAt = board.now() - std::chrono::milliseconds( 400 );
    board.reads( "inlet", { polled } );
    EXPECT_EQ( std::vector<std::string>( { "temperature 24.5 C", "polled 0.4 s ago" } ),
               readingsOf( board.item( "inlet" ), board.now() ) );
}

TEST_F( ModelTest, PolledValueIsAsOldAsItsPoll ) {
    Reading polled = good( 24.5F );
    polled.polledAt = board.now() - std::chrono::seconds( 7 );
    board.reads( "inlet", { polled } );
    EXPECT_EQ( std::vector<std::string>( { "temperature 24.5 C", "7 s old" } ),
               readingsOf( board.item( "inlet" ), board.now() ) );
}

TEST_F( ModelTest, ValueThatNobodyReadIsNoFailure ) {
    board.reads( "inlet", { Reading::unread( "not polled" ) } );
    EXPECT_EQ( std::vector<std::string>( { "temperature unread" } ),
               readingsOf( board.item( "inlet" ), board.now() ) );
    EXPECT_EQ( std::vector<std::string>( { "added" } ),
               fieldsOf( board.item( "inlet" ), board.now() ) );
}

TEST_F( ModelTest, DeviceThatWasNotReadYetSaysSo ) {
    EXPECT_EQ( std::vector<std::string>( { "unread" } ),
               fieldsOf( board.item( "inlet" ), board.now() ) );
}

TEST_F( ModelTest, FullSpeedOfATrayFanComesFromItsDescription ) {
    board.reads( "fan1", { good( 9000 ), none() } );
    EXPECT_EQ( std::nullopt, percentOf( board.item( "fan1" ) ) );
    tray( "fan.maxRpm = 18000\nfan.p = 0\n" );
    EXPECT_EQ( 50, percentOf( board.item( "fan1" ) ) );
    tray( "fan.maxRpm = 36000\n" );
    EXPECT_EQ( 25, percentOf( board.item( "fan1" ) ) );
}

TEST_F( ModelTest, PercentStaysWithinTheBar ) {
    tray( "fan.maxRpm = 100\n" );
    board.reads( "fan1", { good( 9000 ), none() } );
    EXPECT_EQ( 100, percentOf( board.item( "fan1" ) ) );
    board.fails( "fan1", "stopped" );
    EXPECT_EQ( std::nullopt, percentOf( board.item( "fan1" ) ) );
}

TEST_F( ModelTest, AgesAreRounded ) {
    using namespace std::chrono_literals;
    const Moment start{ 1h };
    EXPECT_EQ( "0 s", ageText( start, start + 999ms ) );
    EXPECT_EQ( "59 s", ageText( start, start + 59s ) );
    EXPECT_EQ( "1 min", ageText( start, start + 60s ) );
    EXPECT_EQ( "2 h", ageText( start, start + 7200s ) );
}

TEST_F( ModelTest, LampBelongsToThePortWhoseNameEndsBeforeIt ) {
    EXPECT_TRUE( belongsTo( "Ethernet3-led", "Ethernet3" ) );
    EXPECT_TRUE( belongsTo( "Ethernet3", "Ethernet3" ) );
    EXPECT_FALSE( belongsTo( "Ethernet33-led", "Ethernet3" ) );
    EXPECT_FALSE( belongsTo( "status", "Ethernet3" ) );
}
