#include "HostTool/Metrics/FailureLog.h"
#include "tests/HostTool/Metrics/ExposedBoard.h"

#include <gtest/gtest.h>

using namespace HostTool;

using Lines = std::vector<std::string>;

class FailureLogTest : public testing::Test {
  protected:
    void fanReads( Reading speed ) { board.devices[0].readings = { std::move( speed ), none() }; }
    Lines news() { return log.news( board.devices ); }

    ExposedBoard board;
    Metrics::FailureLog log;
};

TEST_F( FailureLogTest, WellDeviceIsNoNews ) {
    board.add( "fan", "fan1", { good( 9800 ), none() } );
    EXPECT_EQ( Lines(), news() );
}

TEST_F( FailureLogTest, FailureIsToldOnceWithTheLibrarysWords ) {
    board.add( "fan", "fan1", { failed( PL_STATUS_FAILED, "chip is silent" ), none() } );
    EXPECT_EQ( Lines{ "'fan1': speed: PL_STATUS_FAILED: chip is silent" }, news() );
    EXPECT_EQ( Lines(), news() );
}

TEST_F( FailureLogTest, AnotherReasonIsNews ) {
    board.add( "fan", "fan1", { failed( PL_STATUS_FAILED, "chip is silent" ), none() } );
    news();
    fanReads( failed( PL_STATUS_IO_ERROR, "time limit" ) );
    EXPECT_EQ( Lines{ "'fan1': speed: PL_STATUS_IO_ERROR: time limit" }, news() );
}

TEST_F( FailureLogTest, EndOfAFailureIsNews ) {
    board.add( "fan", "fan1", { failed(), none() } );
    news();
    fanReads( good( 9800 ) );
    EXPECT_EQ( Lines{ "'fan1': it is read again" }, news() );
    EXPECT_EQ( Lines(), news() );
}

TEST_F( FailureLogTest, EachReasonNamesItsReadings ) {
    board.add( "psu", "psu1",
               { failed( PL_STATUS_FAILED, "a" ), failed( PL_STATUS_FAILED, "b" ), good( 1.0F ),
                 good( 1.0F ), failed( PL_STATUS_FAILED, "a" ), good( 1.0F ), good( 1.0F ) } );
    EXPECT_EQ( Lines{ "'psu1': power_ok, output_voltage: PL_STATUS_FAILED: a; "
                      "input_voltage: PL_STATUS_FAILED: b" },
               news() );
}

TEST_F( FailureLogTest, AbsentUnsupportedAndUnreadAreNoFailures ) {
    const Reading absent = failed( PL_STATUS_NOT_PRESENT, "not present" );
    board.add( "slot", "slot", { good( false ), absent, absent, none() } );
    board.add( "gpio", "line", { Reading::unread( "nobody asked" ) } );
    EXPECT_EQ( Lines(), news() );
}

TEST_F( FailureLogTest, RefusalIsToldOnce ) {
    board.addRefused( "fan", "fan1" );
    EXPECT_EQ( Lines{ "'fan1': not added: driver X not found" }, news() );
    EXPECT_EQ( Lines(), news() );
}
