#include "EmulatedBoard/PortLedCpld.h"
#include "EmulatedBoard/SystemLedCpld.h"
#include "tests/EmulatedBoard/ChipOnBus.h"

using namespace EmulatedBoard;

class PortLedCpldTest : public ChipOnBus<PortLedCpld, 0x61> {};
class SystemLedCpldTest : public ChipOnBus<SystemLedCpld, 0x62> {};

TEST_F( PortLedCpldTest, IsDarkAfterPowerOn ) {
    EXPECT_EQ( "00", read( 0x49, 1 ) );
    EXPECT_EQ( "off", get( "ethernet33" ) );
    EXPECT_EQ( "off", get( "ethernet34" ) );
}

TEST_F( PortLedCpldTest, EachLampHasItsTwoBits ) {
    write( { 0x49, 0x40 } );
    EXPECT_EQ( "green", get( "ethernet33" ) );
    EXPECT_EQ( "off", get( "ethernet34" ) );
    write( { 0x49, 0xc4 } );
    EXPECT_EQ( "amber", get( "ethernet33" ) );
    EXPECT_EQ( "green", get( "ethernet34" ) );
    write( { 0x49, 0x8c } );
    EXPECT_EQ( "off", get( "ethernet33" ) );
    EXPECT_EQ( "amber", get( "ethernet34" ) );
}

TEST_F( PortLedCpldTest, RegisterHoldsEveryBit ) {
    write( { 0x49, 0x33 } );
    EXPECT_EQ( "33", read( 0x49, 1 ) );
    EXPECT_EQ( "0x33", get( "lamps" ) );
    EXPECT_EQ( "off", get( "ethernet33" ) );
}

TEST_F( PortLedCpldTest, OtherRegistersAreNotThere ) {
    write( { 0x48, 0xff } );
    EXPECT_EQ( "ff 00 ff", read( 0x48, 3 ) );
    write( { 0x48, 0xff, 0x40, 0xff } );
    EXPECT_EQ( "40", read( 0x49, 1 ) );
    EXPECT_EQ( Bus::Result::Done, write( {} ) );
}

TEST_F( PortLedCpldTest, LampsAreDarkWithoutPowerAndAfterPowerOn ) {
    write( { 0x49, 0xc0 } );
    set( "present", "0" );
    EXPECT_EQ( "off", get( "ethernet34" ) );
    set( "present", "1" );
    EXPECT_EQ( "off", get( "ethernet33" ) );
    EXPECT_EQ( "00", read( 0x49, 1 ) );
}

TEST_F( PortLedCpldTest, LampsBlinkEachOnItsOwn ) {
    for ( int turn = 0; turn < 3; ++turn ) {
        write( { 0x49, 0xc4 } );
        write( { 0x49, 0x84 } );
    }
    EXPECT_EQ( "amber blinking", get( "ethernet33" ) );
    EXPECT_EQ( "6", get( "ethernet33_changes" ) );
    EXPECT_EQ( "green", get( "ethernet34" ) );
    EXPECT_EQ( "1", get( "ethernet34_changes" ) );
}

TEST_F( SystemLedCpldTest, IsDarkAfterPowerOn ) {
    EXPECT_EQ( "83", read( 0x41, 1 ) );
    EXPECT_EQ( "off", get( "status" ) );
    EXPECT_EQ( "off", get( "locator" ) );
}

TEST_F( SystemLedCpldTest, StatusHasThreeColours ) {
    write( { 0x41, 0x80 } );
    EXPECT_EQ( "amber", get( "status" ) );
    write( { 0x41, 0x81 } );
    EXPECT_EQ( "red", get( "status" ) );
    write( { 0x41, 0x82 } );
    EXPECT_EQ( "green", get( "status" ) );
    EXPECT_EQ( "off", get( "locator" ) );
    EXPECT_EQ( "0x82", get( "lamps" ) );
}

TEST_F( SystemLedCpldTest, LocatorBlinksBesideASteadyStatus ) {
    write( { 0x41, 0x02 } );
    EXPECT_EQ( "blue", get( "locator" ) );
    write( { 0x41, 0x82 } );
    write( { 0x41, 0x02 } );
    EXPECT_EQ( "blue blinking", get( "locator" ) );
    EXPECT_EQ( "green", get( "status" ) );
    EXPECT_EQ( "1", get( "status_changes" ) );
    EXPECT_EQ( "3", get( "locator_changes" ) );
}

TEST_F( SystemLedCpldTest, OtherRegistersAreNotThere ) {
    write( { 0x40, 0xff, 0x81, 0xff } );
    EXPECT_EQ( "ff 81 ff", read( 0x40, 3 ) );
}
