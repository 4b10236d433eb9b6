#include "EmulatedBoard/FanCpld.h"
#include "tests/EmulatedBoard/ChipOnBus.h"

using namespace EmulatedBoard;

namespace {

/// Time stands still but for the test.
class FanCpldOfTheTest : public FanCpld {
  public:
    explicit FanCpldOfTheTest( uint8_t address ) : FanCpld( address, [] { return seconds; } ) {}

    inline static double seconds = 0;
};

class FanCpldTest : public ChipOnBus<FanCpldOfTheTest, 0x60> {
  protected:
    static void pass( double seconds ) { FanCpldOfTheTest::seconds += seconds; }
    std::string both( uint8_t tray ) {
        return read( 0x11 + tray, 1 ) + " " + read( 0x21 + tray, 1 );
    }
};

} // namespace

TEST_F( FanCpldTest, StartsWithSixTraysAtHalfTheirSpeed ) {
    EXPECT_EQ( "c0 ff 07", read( 0x0f, 3 ) );
    EXPECT_EQ( "68 68 68 68 68 68 ff", read( 0x12, 7 ) );
    EXPECT_EQ( "5d 5d 5d 5d 5d 5d ff", read( 0x22, 7 ) );
}

TEST_F( FanCpldTest, VersionIsReadOnlyOnTheBus ) {
    EXPECT_TRUE( set( "version", "12" ) );
    EXPECT_EQ( Bus::Result::Done, write( { 0x01, 0xaa } ) );
    EXPECT_EQ( "0c", read( 0x01, 1 ) );
}

TEST_F( FanCpldTest, ControlStaysAsWritten ) {
    EXPECT_EQ( "0x01", get( "control" ) );
    write( { 0x33, 0x00 } );
    EXPECT_EQ( "00", read( 0x33, 1 ) );
    EXPECT_EQ( "0x00", get( "control" ) );
}

TEST_F( FanCpldTest, RotorsFollowTheDutyWithInertia ) {
    write( { 0x11, 0x0f } );
    EXPECT_EQ( "68 5d", both( 1 ) );
    pass( 1.5 );
    EXPECT_EQ( "aa 98", both( 1 ) );
    pass( 100 );
    EXPECT_EQ( "d1 ba", both( 1 ) );
    EXPECT_EQ( "d1 ba", both( 6 ) );
}

TEST_F( FanCpldTest, DutyHasFourBits ) {
    write( { 0x11, 0xff } );
    EXPECT_EQ( "0f", read( 0x11, 1 ) );
    EXPECT_EQ( "100", get( "duty" ) );
    write( { 0x11, 0x10 } );
    EXPECT_EQ( "00", read( 0x11, 1 ) );
    EXPECT_EQ( "6.25", get( "duty" ) );
}

TEST_F( FanCpldTest, TimeCanBeAdvanced ) {
    write( { 0x11, 0x00 } );
    EXPECT_TRUE( set( "advance", "1.5" ) );
    EXPECT_TRUE( set( "advance", "100" ) );
    EXPECT_EQ( "101.5", get( "advance" ) );
    EXPECT_EQ( "0d 0b", both( 3 ) );
}

TEST_F( FanCpldTest, WithoutInertiaRotorsFollowAtOnce ) {
    EXPECT_TRUE( set( "inertia", "0" ) );
    write( { 0x11, 0x03 } );
    EXPECT_EQ( "34 2e", both( 2 ) );
}

TEST_F( FanCpldTest, TrayThatLeavesTakesItsSpeedAndItsStrap ) {
    EXPECT_TRUE( set( "tray2_airflow", "b2f" ) );
    EXPECT_EQ( "c0 fd", read( 0x0f, 2 ) );
    EXPECT_TRUE( set( "tray2_present", "0" ) );
    EXPECT_EQ( "c2 ff", read( 0x0f, 2 ) );
    EXPECT_EQ( "00 00", both( 2 ) );
    EXPECT_EQ( "68 5d", both( 1 ) );
}

TEST_F( FanCpldTest, TrayThatComesSpeedsUp ) {
    set( "tray6_present", "0" );
    set( "tray6_airflow", "b2f" );
    pass( 100 );
    set( "tray6_present", "1" );
    EXPECT_EQ( "00 00", both( 6 ) );
    EXPECT_EQ( "c0 df", read( 0x0f, 2 ) );
    pass( 1.5 );
    EXPECT_EQ( "42 3a", both( 6 ) );
}

TEST_F( FanCpldTest, BlockedRotorStandsBesideOneThatTurns ) {
    set( "tray4_rear_blocked", "1" );
    EXPECT_EQ( "68 00", both( 4 ) );
    EXPECT_EQ( "0", get( "tray4_rear_speed" ) );
    EXPECT_EQ( "10475", get( "tray4_front_speed" ) );
}

TEST_F( FanCpldTest, WornRotorIsSlower ) {
    set( "tray5_front_wear", "100" );
    pass( 100 );
    EXPECT_EQ( "1f 5d", both( 5 ) );
}

TEST_F( FanCpldTest, PowerOnForgetsWhatWasWrittenAndKeepsTheRotorsTurning ) {
    write( { 0x11, 0x0f } );
    write( { 0x33, 0x55 } );
    pass( 100 );
    set( "present", "0" );
    EXPECT_EQ( "no acknowledge", read( 0x01, 1 ) );
    set( "present", "1" );
    EXPECT_EQ( "07", read( 0x11, 1 ) );
    EXPECT_EQ( "0x01", get( "control" ) );
    EXPECT_EQ( "d1 ba", both( 1 ) );
    pass( 100 );
    EXPECT_EQ( "68 5d", both( 1 ) );
}

TEST_F( FanCpldTest, KnobsRefuseWhatIsNotThere ) {
    EXPECT_FALSE( set( "tray1_airflow", "front" ) );
    EXPECT_FALSE( set( "tray1_front_wear", "101" ) );
    EXPECT_FALSE( set( "inertia", "-1" ) );
    EXPECT_FALSE( set( "advance", "-1" ) );
    EXPECT_EQ( "f2b", get( "tray1_airflow" ) );
}

TEST_F( FanCpldTest, OtherRegistersReadAsOnes ) {
    EXPECT_EQ( "ff", read( 0x00, 1 ) );
    EXPECT_EQ( "ff ff", read( 0x34, 2 ) );
    EXPECT_EQ( "ff ff", read( 0xff, 2 ) );
}
