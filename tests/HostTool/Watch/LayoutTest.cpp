/// The screen as text, without a terminal.
#include "tests/HostTool/Watch/WatchedBoard.h"

#include <gmock/gmock.h>

using namespace HostTool;
using namespace HostTool::Watch;
using testing::Contains;
using testing::HasSubstr;
using testing::Not;
using testing::StartsWith;

constexpr Size usual = { 24, 80 };
constexpr Size wide = { 60, 200 };

class LayoutTest : public testing::Test {
  protected:
    void everything() {
        board.addEverything();
        board.readsWell();
    }

    void select( const std::string &name ) { board.view.selected = board.indexOf( name ); }

    std::string all( Size size = usual ) {
        std::string text;
        for ( const std::string &row : board.screen( size ) ) {
            text += row + "\n";
        }
        return text;
    }

    /// The row that says something; empty when none does.
    std::string rowWith( const std::string &text, Size size = usual ) {
        for ( const std::string &row : board.screen( size ) ) {
            if ( row.find( text ) != std::string::npos ) {
                return row;
            }
        }
        return "";
    }

    WatchedBoard board;
};

TEST_F( LayoutTest, WholeBoardOnTheUsualScreen ) {
    everything();
    board.look.utf8 = false;
    EXPECT_EQ( R"( VundaT  all well                                 page 1 of 2          13:05:12
          1   3   5   7   9  11  13  15  17  19  21  23  25  27  29  31  33
 Ports   #   #   #   #   #   #   #   #   #   #   #   #   #   #   #   #   #
         #   #   #   #   #   #   #   #   #   #   #   #   #   #   #   #   #
          2   4   6   8  10  12  14  16  18  20  22  24  26  28  30  32  34
 Temperatures               fan1      12000 rpm ==-   fan1-slot PWR-500  A1
> inlet            24.5 C   fan2      12000 rpm ==-   fan2-slot PWR-500  A1
  asic-left        24.5 C   fan3      12000 rpm ==-   fan3-slot PWR-500  A1
  asic-right       24.5 C   fan4      12000 rpm ==-   fan4-slot PWR-500  A1
  outlet           24.5 C   fan5      12000 rpm ==-   fan5-slot PWR-500  A1
  rear             24.5 C   fan6      12000 rpm ==-   fan6-slot PWR-500  A1
  cpu-board        24.5 C   psu1-fan1 12000 rpm ==-   psu1-slot PWR-500  A1
  psu1-inlet       24.5 C   psu1-fan2 12000 rpm ==-   psu2-slot PWR-500  A1
  psu1-hot-spot    24.5 C   psu2-fan1 12000 rpm ==-  Lamps
  psu1-outlet      24.5 C   psu2-fan2 12000 rpm ==-   Ethernet33-le   --
  psu2-inlet       24.5 C  Supplies                   lamp34          --
  psu2-hot-spot    24.5 C   psu1  240.00 W  12.11 V   status          --
  psu2-outlet      24.5 C   psu2  240.00 W  12.11 V  Lines
 Fans                      Slots                      line1         0
 inlet  ok  temp_sensor  X  did 1  alert 45.0 C  critical 55.0 C
   temperature 24.5 C


 q quit  ? help  arrows Tab  f fan  l lamp  r reset  t transmitter  g line
)",
               all() );
}

TEST_F( LayoutTest, ScreenThatIsTooSmallSaysSo ) {
    everything();
    const std::vector<std::string> rows = board.screen( { 20, 60 } );
    EXPECT_EQ( "The screen is too small: 60x20", rows[0] );
    EXPECT_EQ( "It takes 78x20. q quits.", rows[1] );
    EXPECT_EQ( "", rows[2] );
}

TEST_F( LayoutTest, SmallestScreenHoldsEveryRowWithinIt ) {
    everything();
    EXPECT_THAT( board.screen( smallestSize ), Contains( StartsWith( " inlet  ok" ) ) );
}

TEST_F( LayoutTest, AnySizeIsDrawn ) {
    everything();
    for ( int rows = 1; rows <= 70; rows += 3 ) {
        for ( int columns = 1; columns <= 240; columns += 7 ) {
            const Canvas canvas = board.canvas( { rows, columns } );
            EXPECT_EQ( rows, canvas.size().rows );
        }
    }
}

TEST_F( LayoutTest, WideScreenHasRoomForAllOfIt ) {
    everything();
    EXPECT_THAT( all( wide ), Not( HasSubstr( "page" ) ) );
    EXPECT_THAT( rowWith( "psu1 ", wide ),
                 HasSubstr( "240.00 W  12.11 V  19.81 A  255.75 W  230.00 V  1.10 A" ) );
    EXPECT_THAT( rowWith( "line4", wide ), HasSubstr( "0" ) );
    EXPECT_THAT( rowWith( "fan1 ", wide ), HasSubstr( "12000 rpm ████████████░░░░░░░░" ) );
}

TEST_F( LayoutTest, RawChipHasNoLine ) {
    everything();
    EXPECT_EQ( "", rowWith( "raw", wide ) );
}

TEST_F( LayoutTest, PageOfTheSelectedDeviceIsShown ) {
    everything();
    select( "line4" );
    EXPECT_THAT( all(), HasSubstr( "page 2 of 2" ) );
    EXPECT_THAT( rowWith( "> line4" ), HasSubstr( "0" ) );
}

TEST_F( LayoutTest, FailureSaysHowOldTheLastGoodValueIsAndWhy ) {
    everything();
    board.pass( 12 );
    board.fails( "inlet", "bus 0 chip 0x48: no acknowledge" );
    board.pass( 30 );
    select( "inlet" );
    EXPECT_THAT( rowWith( "inlet ", wide ),
                 HasSubstr( "failed  42 s  was 24.5 C  PL_STATUS_FAILED: bus 0 chip 0x48: no "
                            "acknowledge" ) );
    EXPECT_THAT( rowWith( "inlet " ), StartsWith( ">!inlet         failed" ) );
    EXPECT_EQ( "   PL_STATUS_FAILED: bus 0 chip 0x48: no acknowledge", rowWith( "bus 0" ) );
    EXPECT_EQ( "   temperature failed, was 24.5 C 42 s ago", rowWith( "was 24.5 C" ) );
    EXPECT_THAT( all(), HasSubstr( "1 device in trouble" ) );
}

TEST_F( LayoutTest, FailureThatNeverWasAValueHasNone ) {
    board.add( "temp_sensor", "inlet" );
    board.fails( "inlet", "no acknowledge" );
    EXPECT_THAT( rowWith( "inlet " ), HasSubstr( "failed  PL_STATUS_FAILED: no acknowledge" ) );
    EXPECT_THAT( all(), Not( HasSubstr( "ago" ) ) );
    EXPECT_THAT( all(), Not( HasSubstr( " 0" ) ) );
}

TEST_F( LayoutTest, DeviceThatWasNotReadYetHasNoValue ) {
    board.add( "temp_sensor", "inlet" );
    EXPECT_THAT( rowWith( "> inlet" ), HasSubstr( "unread" ) );
}

TEST_F( LayoutTest, AbsentPartIsNoTrouble ) {
    everything();
    board.reads( "psu2-slot", { good( false ), none(), none(), none() } );
    EXPECT_THAT( rowWith( "*psu2-slot" ), HasSubstr( "absent" ) );
    EXPECT_THAT( all(), HasSubstr( "all well" ) );
}

TEST_F( LayoutTest, SensorAboveItsThresholdIsMarked ) {
    everything();
    board.reads( "inlet", { good( 50.0F ) } );
    EXPECT_THAT( rowWith( "inlet ", wide ), HasSubstr( "50.0 C  alert" ) );
    EXPECT_EQ( U'!', board.canvas( usual ).at( 6, 1 ).character );
    EXPECT_EQ( Tint::warning, board.canvas( usual ).at( 6, 1 ).style.tint );
}

TEST_F( LayoutTest, ChangeIsMarkedForAWhile ) {
    everything();
    board.reads( "asic-left", { good( 25.0F ) } );
    EXPECT_THAT( rowWith( "asic-left" ), StartsWith( " *asic-left        25.0 C" ) );
    board.pass( 3 );
    EXPECT_THAT( rowWith( "asic-left" ), StartsWith( "  asic-left        25.0 C" ) );
}

TEST_F( LayoutTest, LostServerIsInTheTitle ) {
    everything();
    board.model().serverIsLost( board.now(), "Connection refused" );
    board.pass( 7 );
    EXPECT_THAT( board.screen( usual )[0], HasSubstr( "no server for 7 s: Connection refused" ) );
    EXPECT_EQ( Tint::trouble, board.canvas( usual ).at( 0, 0 ).style.tint );
    EXPECT_THAT( rowWith( "> inlet", wide ), HasSubstr( "24.5 C  7 s old" ) );
}

TEST_F( LayoutTest, SelectedSupplyHasAllOfItsReadings ) {
    everything();
    select( "psu1" );
    const std::vector<std::string> rows = board.screen( usual );
    EXPECT_EQ( " psu1  ok  psu  X  did 1", rows[19] );
    EXPECT_EQ( "   power_ok yes  in 230.00 V  in 1.10 A  in 255.75 W  out 12.11 V  out 19.81 A",
               rows[20] );
    EXPECT_EQ( "   out 240.00 W", rows[21] );
}

TEST_F( LayoutTest, QuestionTakesThePlaceOfTheKeys ) {
    everything();
    board.view.mode = Mode::askSpeed;
    board.view.question = "Speed of fan1, in rpm or %:";
    board.view.typed = "60";
    EXPECT_EQ( " Speed of fan1, in rpm or %: 60_", board.screen( usual )[23] );
}

TEST_F( LayoutTest, HelpTellsTheKeys ) {
    everything();
    board.view.mode = Mode::help;
    EXPECT_THAT( all(), HasSubstr( "f                   set the speed of a fan" ) );
    for ( const std::string &row : board.screen( usual ) ) {
        EXPECT_LE( row.size(), 79U ) << row;
    }
}

TEST_F( LayoutTest, BoardWithoutDevicesSaysSo ) {
    EXPECT_EQ( " devices.json describes no devices.", board.screen( usual )[2] );
}
