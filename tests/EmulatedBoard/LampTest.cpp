#include "EmulatedBoard/Lamp.h"

#include <gtest/gtest.h>

using namespace EmulatedBoard;

class LampTest : public testing::Test {
  protected:
    /// Goes on and off in turn, each time after so many seconds.
    void flash( int times, double seconds, std::string_view colour ) {
        for ( int turn = 0; turn < times; ++turn ) {
            now += seconds;
            lamp.colourIs( turn % 2 == 0 ? colour : std::string_view() );
        }
    }

    double now = 1000;
    Lamp lamp{ [this] { return now; } };
};

TEST_F( LampTest, IsOffAtFirst ) {
    EXPECT_EQ( "off", lamp.look() );
    EXPECT_EQ( 0U, lamp.changes() );
}

TEST_F( LampTest, SteadyLampHasItsColour ) {
    lamp.colourIs( "green" );
    EXPECT_EQ( "green", lamp.look() );
    lamp.colourIs( "amber" );
    EXPECT_EQ( "amber", lamp.look() );
    lamp.colourIs( "" );
    EXPECT_EQ( "off", lamp.look() );
    EXPECT_EQ( 3U, lamp.changes() );
}

TEST_F( LampTest, SameColourAgainIsNoChange ) {
    flash( 1, 1, "green" );
    for ( int again = 0; again < 5; ++again ) {
        lamp.colourIs( "green" );
    }
    EXPECT_EQ( "green", lamp.look() );
    EXPECT_EQ( 1U, lamp.changes() );
}

TEST_F( LampTest, BlinksFromTheThirdFlashOnAlsoInTheDark ) {
    flash( 2, 1, "amber" );
    EXPECT_EQ( "off", lamp.look() );
    flash( 1, 1, "amber" );
    EXPECT_EQ( "amber blinking", lamp.look() );
    now += 1;
    lamp.colourIs( "" );
    EXPECT_EQ( "amber blinking", lamp.look() );
}

TEST_F( LampTest, IsSteadyAgainAfterAWhile ) {
    flash( 5, 1, "amber" );
    now += 1.5;
    EXPECT_EQ( "amber blinking", lamp.look() );
    now += 0.01;
    EXPECT_EQ( "amber", lamp.look() );
}

TEST_F( LampTest, SlowChangesAreNoBlinking ) {
    flash( 9, 1.6, "amber" );
    EXPECT_EQ( "amber", lamp.look() );
    EXPECT_EQ( 9U, lamp.changes() );
}

TEST_F( LampTest, OtherColourEndsTheBlinkingAtOnce ) {
    flash( 6, 1, "amber" );
    EXPECT_EQ( "amber blinking", lamp.look() );
    now += 0.1;
    lamp.colourIs( "green" );
    EXPECT_EQ( "green", lamp.look() );
}

TEST_F( LampTest, PauseStartsTheCountAnew ) {
    flash( 2, 1, "amber" );
    now += 10;
    flash( 2, 1, "amber" );
    EXPECT_EQ( "off", lamp.look() );
}
