#include "EmulatedBoard/FanTray.h"

#include <gtest/gtest.h>

using namespace EmulatedBoard;

TEST( RotorTest, ApproachesItsSpeedByTheSameShareEachSecond ) {
    Rotor rotor( 10000 );
    rotor.run( 2, 1, 2 );
    EXPECT_NEAR( 6321, rotor.rpm(), 1 );
    rotor.run( 2, 1, 2 );
    EXPECT_NEAR( 8647, rotor.rpm(), 1 );
}

TEST( RotorTest, StepsOfTimeMakeNoDifference ) {
    Rotor once( 10000 );
    Rotor often( 10000 );
    once.run( 3, 0.5, 1.5 );
    for ( int i = 0; i < 300; ++i ) {
        often.run( 0.01, 0.5, 1.5 );
    }
    EXPECT_NEAR( once.rpm(), often.rpm(), 1e-6 );
}

TEST( RotorTest, SlowsDownAsItSpeedsUp ) {
    Rotor rotor( 10000 );
    rotor.run( 100, 1, 2 );
    rotor.run( 2, 0.5, 2 );
    EXPECT_NEAR( 5000 + 5000 * 0.3679, rotor.rpm(), 1 );
}

TEST( RotorTest, FollowsAtOnceWithoutInertia ) {
    Rotor rotor( 10000 );
    rotor.run( 0, 0.25, 0 );
    EXPECT_DOUBLE_EQ( 2500, rotor.rpm() );
}

TEST( RotorTest, WearTakesItsPartOfTheDuty ) {
    Rotor rotor( 10000 );
    rotor.wear = 100;
    rotor.run( 0, 1, 0 );
    EXPECT_DOUBLE_EQ( 6500, rotor.rpm() );
    rotor.wear = 50;
    rotor.run( 0, 1, 0 );
    EXPECT_DOUBLE_EQ( 8250, rotor.rpm() );
}

TEST( RotorTest, WornRotorStandsStillWithLittleDuty ) {
    Rotor rotor( 10000 );
    rotor.wear = 100;
    rotor.run( 0, 0.3125, 0 );
    EXPECT_DOUBLE_EQ( 0, rotor.rpm() );
}

TEST( RotorTest, BlockedRotorStopsAndStartsAnew ) {
    Rotor rotor( 10000 );
    rotor.run( 100, 1, 2 );
    rotor.blocked = true;
    rotor.run( 0, 1, 2 );
    EXPECT_DOUBLE_EQ( 0, rotor.rpm() );
    rotor.blocked = false;
    rotor.run( 2, 1, 2 );
    EXPECT_NEAR( 6321, rotor.rpm(), 1 );
}

TEST( FanTrayTest, TrayThatComesStartsFromStandstill ) {
    FanTray tray;
    tray.run( 100, 1, 2 );
    tray.presentIs( false );
    tray.run( 100, 1, 2 );
    EXPECT_DOUBLE_EQ( 0, tray.front.rpm() );
    tray.presentIs( true );
    tray.run( 2, 1, 2 );
    EXPECT_NEAR( 20950 * 0.6321, tray.front.rpm(), 2 );
    EXPECT_NEAR( 18650 * 0.6321, tray.rear.rpm(), 2 );
}
