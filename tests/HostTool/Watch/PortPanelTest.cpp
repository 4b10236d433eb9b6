/// The front panel: what is in each cage, and the lamps.
#include "HostTool/Watch/PortPanel.h"
#include "tests/HostTool/Watch/WatchedBoard.h"

#include <gmock/gmock.h>

using namespace HostTool;
using namespace HostTool::Watch;

constexpr Size usual = { 24, 80 };

class PortPanelTest : public testing::Test {
  protected:
    PortPanelTest() {
        board.addEverything();
        board.readsWell();
        board.view.selected = board.indexOf( "inlet" );
    }

    char32_t inside( const std::string &cage ) {
        return cageGlyph( board.item( cage ), board.look ).character;
    }

    void qsfp( bool present, bool reset, bool interrupt ) {
        board.reads( "Ethernet1",
                     { good( "qsfp" ), good( present ), none(), none(), none(), good( false ),
                       good( false ), good( reset ), good( interrupt ) } );
    }

    void sfp( bool fault, bool loss, bool disabled ) {
        board.reads( "Ethernet33", { good( "sfp" ), good( true ), good( fault ), good( loss ),
                                     good( disabled ), none(), none(), none(), none() } );
    }

    /// What stands beside Ethernet33, and beside Ethernet34 below it.
    Glyph lampOf33() { return board.canvas( usual ).at( 2, 8 + 16 * 4 + 2 ); }
    Glyph lampOf34() { return board.canvas( usual ).at( 3, 8 + 16 * 4 + 2 ); }

    void told( const std::string &lamp, int setting ) {
        board.model().lightIs( board.indexOf( lamp ), setting );
    }

    WatchedBoard board;
};

TEST_F( PortPanelTest, MostUrgentSignalIsShown ) {
    EXPECT_EQ( U'■', inside( "Ethernet1" ) );
    qsfp( true, false, true );
    EXPECT_EQ( U'!', inside( "Ethernet1" ) );
    qsfp( true, true, true );
    EXPECT_EQ( U'R', inside( "Ethernet1" ) );
    qsfp( false, true, false );
    EXPECT_EQ( U'·', inside( "Ethernet1" ) );
    board.fails( "Ethernet1", "no acknowledge" );
    EXPECT_EQ( U'?', inside( "Ethernet1" ) );
}

TEST_F( PortPanelTest, SignalsOfAnSfpCage ) {
    sfp( false, true, false );
    EXPECT_EQ( U'L', inside( "Ethernet33" ) );
    sfp( false, true, true );
    EXPECT_EQ( U'D', inside( "Ethernet33" ) );
    sfp( true, true, true );
    EXPECT_EQ( U'F', inside( "Ethernet33" ) );
}

TEST_F( PortPanelTest, LampBelongsToItsPortByNameOrByArgument ) {
    EXPECT_EQ( board.indexOf( "Ethernet33-led" ), board.item( "Ethernet33" ).lamp );
    EXPECT_EQ( board.indexOf( "lamp34" ), board.item( "Ethernet34" ).lamp );
    EXPECT_EQ( std::nullopt, board.item( "Ethernet3" ).lamp );
}

TEST_F( PortPanelTest, LampThatWasNeverToldIsNotDrawn ) {
    EXPECT_EQ( Glyph{}, lampOf33() );
}

TEST_F( PortPanelTest, LampHasTheColourOfItsSetting ) {
    told( "Ethernet33-led", PL_LED_GOOD );
    told( "lamp34", PL_LED_BAD );
    EXPECT_EQ( ( Glyph{ U'●', { Tint::good, true } } ), lampOf33() );
    EXPECT_EQ( ( Glyph{ U'●', { Tint::trouble, true } } ), lampOf34() );
    told( "lamp34", PL_LED_OFF );
    EXPECT_EQ( ( Glyph{ U'○', { Tint::dim } } ), lampOf34() );
}

TEST_F( PortPanelTest, LampIsALetterWhereThereIsNoColour ) {
    board.look = { false, false };
    told( "Ethernet33-led", PL_LED_WARNING );
    EXPECT_EQ( U'w', lampOf33().character );
}

TEST_F( PortPanelTest, BeaconsShareOnePhaseThatBeginsDark ) {
    board.model().blinksAre( 4 );
    told( "Ethernet33-led", PL_LED_BEACON );
    EXPECT_EQ( U'○', lampOf33().character );
    board.model().blinksAre( 5 );
    told( "lamp34", PL_LED_BEACON );
    EXPECT_EQ( U'○', lampOf33().character );
    board.model().blinksAre( 6 );
    EXPECT_EQ( U'●', lampOf33().character );
    EXPECT_EQ( U'●', lampOf34().character );
    board.model().blinksAre( 7 );
    EXPECT_EQ( U'○', lampOf33().character );
    EXPECT_EQ( U'○', lampOf34().character );
}

TEST_F( PortPanelTest, SelectedCageStandsInBrackets ) {
    board.view.selected = board.indexOf( "Ethernet2" );
    EXPECT_EQ( "        [■ ] ■ ", board.screen( usual )[3].substr( 0, 19 ) );
}

TEST_F( PortPanelTest, MoreCagesTakeASecondBank ) {
    WatchedBoard large;
    for ( int i = 1; i <= 64; ++i ) {
        large.add( "xcvr", "p" + std::to_string( i ) );
    }
    EXPECT_EQ( 8, portPanelRows( large.model(), 80 ) );
    EXPECT_EQ( "         37  39  41", large.screen( usual )[5].substr( 0, 19 ) );
}

TEST_F( PortPanelTest, PolledSignalIsNotShownBeforeThePoll ) {
    WatchedBoard fresh;
    fresh.add( "xcvr", "Ethernet1" );
    const std::vector<Reading> readings = { good( "qsfp" ), good( false ), none(), none(), none(),
                                            good( false ),  good( true ),  none(), none() };
    fresh.reads( "Ethernet1", readings );
    EXPECT_FALSE( fresh.item( "Ethernet1" ).wasRead );
    EXPECT_TRUE( fresh.model().isSettling() );
    fresh.pass( 2 );
    fresh.reads( "Ethernet1", readings );
    EXPECT_TRUE( fresh.item( "Ethernet1" ).wasRead );
    EXPECT_FALSE( fresh.model().isSettling() );
}
