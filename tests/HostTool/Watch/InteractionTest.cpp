/// What keys do, without a terminal and without a library.
#include "HostTool/Watch/Interaction.h"
#include "HostTool/Watch/Selection.h"
#include "tests/HostTool/Watch/WatchedBoard.h"

#include <gmock/gmock.h>

using namespace HostTool;
using namespace HostTool::Watch;
using testing::HasSubstr;

class InteractionTest : public testing::Test {
  protected:
    InteractionTest() {
        board.addEverything();
        board.readsWell();
        select( "Ethernet1" );
    }

    void select( const std::string &name ) { board.view.selected = board.indexOf( name ); }
    std::string selected() { return board.model().items()[board.view.selected].entry().name; }

    std::string press( Key key ) {
        const std::optional<Command> command = Watch::press( board.view, board.model(), key );
        return command ? board.model().items()[command->item].entry().name + ": " +
                             textOf( command->order )
                       : "";
    }
    /// Types characters; returns what the last of them told a device.
    std::string type( const std::string &text ) {
        std::string told;
        for ( const char each : text ) {
            told = press( { KeyCode::character, each } );
        }
        return told;
    }
    std::string enter() { return press( { KeyCode::enter } ); }

    WatchedBoard board;
};

TEST_F( InteractionTest, SpeedIsTypedInRpmOrPercent ) {
    select( "fan1" );
    type( "f9000" );
    EXPECT_EQ( "fan1: 9000 rpm", enter() );
    type( "f60%" );
    EXPECT_EQ( "fan1: 12000 rpm", enter() );
    EXPECT_EQ( Mode::browse, board.view.mode );
}

TEST_F( InteractionTest, TypingCanBeMended ) {
    select( "fan1" );
    type( "f90005" );
    press( { KeyCode::backspace } );
    EXPECT_EQ( "9000", board.view.typed );
    type( "x\x01" );
    EXPECT_EQ( "fan1: 9000 rpm", enter() );
}

TEST_F( InteractionTest, SpeedOutOfRangeIsRefused ) {
    select( "fan1" );
    for ( const char *typed : { "20001", "101%", "", "%", "5%5" } ) {
        type( "f" );
        type( typed );
        EXPECT_EQ( "", enter() ) << typed;
        EXPECT_EQ( "'" + std::string( typed ) +
                       "' is no speed of fan1: 0 to 20000 rpm or 0% to 100%",
                   board.view.message );
        EXPECT_TRUE( board.view.isTrouble );
    }
}

TEST_F( InteractionTest, LowSpeedIsConfirmed ) {
    select( "fan1" );
    type( "f10%" );
    EXPECT_EQ( "", enter() );
    EXPECT_EQ( "fan1: only 2000 rpm? y/n", board.view.question );
    EXPECT_EQ( "fan1: 2000 rpm", type( "y" ) );
}

TEST_F( InteractionTest, SpeedOfAFanWithoutALimitIsConfirmed ) {
    WatchedBoard small;
    small.add( "fan", "blower" );
    View view;
    for ( const char each : { 'f', '9', '0', '0', '0' } ) {
        Watch::press( view, small.model(), { KeyCode::character, each } );
    }
    EXPECT_FALSE( Watch::press( view, small.model(), { KeyCode::enter } ) );
    EXPECT_EQ( "blower: 9000 rpm? Its full speed is not known. y/n", view.question );
}

TEST_F( InteractionTest, LampOfThePortIsSetFromThePort ) {
    select( "Ethernet33" );
    EXPECT_EQ( "Ethernet33-led: beacon", type( "ln" ) );
    select( "status" );
    EXPECT_EQ( "status: good", type( "lg" ) );
}

TEST_F( InteractionTest, PortWithoutALampSaysSo ) {
    EXPECT_EQ( "", type( "l" ) );
    EXPECT_EQ( "'Ethernet1' has no lamp in devices.json", board.view.message );
}

TEST_F( InteractionTest, ResetIsConfirmedAndLettingGoIsNot ) {
    EXPECT_EQ( "", type( "r" ) );
    EXPECT_EQ( "Hold the module of Ethernet1 in reset? y/n", board.view.question );
    EXPECT_EQ( "Ethernet1: reset on", type( "y" ) );
    board.reads( "Ethernet1", { good( "qsfp" ), good( true ), none(), none(), none(), good( false ),
                                good( false ), good( true ), good( false ) } );
    EXPECT_EQ( "Ethernet1: reset off", type( "r" ) );
}

TEST_F( InteractionTest, AnythingButYesIsNo ) {
    for ( const char key : { 'n', ' ', 'Y' } ) {
        type( "r" );
        EXPECT_EQ( "", type( std::string( 1, key ) ) );
        EXPECT_EQ( Mode::browse, board.view.mode );
        EXPECT_FALSE( board.view.pending );
    }
    type( "r" );
    press( { KeyCode::escape } );
    EXPECT_FALSE( board.view.pending );
    EXPECT_EQ( "", enter() );
}

TEST_F( InteractionTest, TransmitterIsThatOfAnSfpCage ) {
    EXPECT_EQ( "", type( "t" ) );
    EXPECT_THAT( board.view.message, HasSubstr( "'Ethernet1': it is no SFP cage" ) );
    select( "Ethernet33" );
    EXPECT_EQ( "Ethernet33: txdisable on", type( "ty" ) );
}

TEST_F( InteractionTest, LineIsToggledAndConfirmed ) {
    select( "line1" );
    EXPECT_EQ( "line1: 1", type( "gy" ) );
    board.reads( "line1", { good( 1 ) } );
    EXPECT_EQ( "line1: 0", type( "gy" ) );
}

TEST_F( InteractionTest, KeyOfAnotherClassIsExplained ) {
    select( "inlet" );
    EXPECT_EQ( "", type( "f" ) );
    EXPECT_EQ( "'inlet' is a temp_sensor, not a fan", board.view.message );
    type( "z" );
    EXPECT_EQ( "? shows what the keys do", board.view.message );
}

TEST_F( InteractionTest, QuitsAndHelps ) {
    type( "?" );
    EXPECT_EQ( Mode::help, board.view.mode );
    type( "q" );
    EXPECT_FALSE( board.view.isOver );
    type( "q" );
    EXPECT_TRUE( board.view.isOver );
}

TEST_F( InteractionTest, ResultIsReported ) {
    report( board.view, "fan1", { Setting::fanSpeed, 9000 }, { PL_STATUS_OK, "" } );
    EXPECT_EQ( "fan1: 9000 rpm", board.view.message );
    report( board.view, "fan1", { Setting::fanSpeed, 9000 },
            { PL_STATUS_FAILED, "no acknowledge" } );
    EXPECT_EQ( "fan1: 9000 rpm: PL_STATUS_FAILED: no acknowledge", board.view.message );
    EXPECT_TRUE( board.view.isTrouble );
}

TEST_F( InteractionTest, ArrowsMoveOnTheFrontPanel ) {
    press( { KeyCode::down } );
    EXPECT_EQ( "Ethernet2", selected() );
    press( { KeyCode::right } );
    EXPECT_EQ( "Ethernet4", selected() );
    press( { KeyCode::left } );
    press( { KeyCode::up } );
    EXPECT_EQ( "Ethernet1", selected() );
    press( { KeyCode::up } );
    EXPECT_EQ( "Ethernet1", selected() );
}

TEST_F( InteractionTest, TabMovesFromClassToClass ) {
    press( { KeyCode::nextClass } );
    EXPECT_EQ( "inlet", selected() );
    press( { KeyCode::nextClass } );
    EXPECT_EQ( "fan1", selected() );
    press( { KeyCode::previousClass } );
    EXPECT_EQ( "inlet", selected() );
    press( { KeyCode::last } );
    EXPECT_EQ( "line4", selected() );
    press( { KeyCode::nextClass } );
    EXPECT_EQ( "line4", selected() );
    press( { KeyCode::first } );
    EXPECT_EQ( "Ethernet1", selected() );
}

TEST_F( InteractionTest, EmptyBoardTakesKeys ) {
    WatchedBoard empty;
    View view;
    for ( const char key : { 'f', 'l', 'r', 't', 'g', '?' } ) {
        EXPECT_FALSE( Watch::press( view, empty.model(), { KeyCode::character, key } ) );
    }
    EXPECT_FALSE( Watch::press( view, empty.model(), { KeyCode::right } ) );
    EXPECT_EQ( 0U, firstOf( empty.model() ) );
}
