/// kavractl set, with the library and the server as they are built, on the emulated VundaT board.
#include "tests/HostTool/Kavractl.h"
#include "tests/support/ServerProcess.h"

#include <gmock/gmock.h>

#include <filesystem>

using testing::HasSubstr;

class SetBoardTest : public KavractlTest {
  protected:
    SetBoardTest() {
        environment["SMBUSD_SOCKET"] = server.socketPath();
        environment["KAVRA_BOARD"] = SOURCE_DIR "/boards/VundaT";
    }

    void set( std::vector<std::string> arguments ) const {
        arguments.insert( arguments.begin(), "set" );
        const ProgramResult result = kavractl( arguments );
        EXPECT_EQ( 0, result.status ) << result.err;
    }

    std::string world( const std::string &knob ) {
        const std::string answer = server.control( "get " + knob );
        return answer.substr( 0, answer.find( '\n' ) );
    }

    ServerProcess server;
};

TEST_F( SetBoardTest, TrayFansFollowTheirOneSpeed ) {
    set( { "fan", "fan3", "100%" } );
    EXPECT_EQ( "100", world( "fans.duty" ) );
    EXPECT_THAT( kavractl( { "set", "fan", "fan3", "19751" } ).err,
                 HasSubstr( "more than the full speed of 'fan3', 19750 rpm" ) );
}

TEST_F( SetBoardTest, SupplyFanTakesASpeed ) {
    set( { "fan", "psu1-fan1", "75%" } );
    EXPECT_EQ( "75", world( "psu1.fan1_command" ) );
}

TEST_F( SetBoardTest, ResetOfOneModuleLeavesTheOthersAlone ) {
    set( { "xcvr", "Ethernet2", "reset", "on" } );
    set( { "xcvr", "Ethernet3", "reset", "on" } );
    EXPECT_EQ( "0", world( "Ethernet1.reset" ) );
    EXPECT_EQ( "1", world( "Ethernet2.reset" ) );
    EXPECT_EQ( "1", world( "Ethernet3.reset" ) );
    set( { "xcvr", "Ethernet2", "reset", "off" } );
    EXPECT_EQ( "0", world( "Ethernet2.reset" ) );
    EXPECT_EQ( "1", world( "Ethernet3.reset" ) );
}

TEST_F( SetBoardTest, TransmitterIsSwitched ) {
    set( { "xcvr", "Ethernet33", "txdisable", "on" } );
    EXPECT_EQ( "1", world( "Ethernet33.tx_disable" ) );
    set( { "xcvr", "Ethernet33", "txdisable", "off" } );
    EXPECT_EQ( "0", world( "Ethernet33.tx_disable" ) );
}

TEST_F( SetBoardTest, LampShowsItsSetting ) {
    set( { "led", "Ethernet34-led", "good" } );
    EXPECT_EQ( "green", world( "port-leds.ethernet34" ) );
    set( { "led", "Ethernet34-led", "off" } );
    EXPECT_EQ( "off", world( "port-leds.ethernet34" ) );
}

TEST_F( SetBoardTest, BeaconIsOffBehindItsTime ) {
    set( { "led", "Ethernet33-led", "beacon", "--for", "3" } );
    EXPECT_NE( "0", world( "port-leds.ethernet33_changes" ) );
    EXPECT_EQ( "off", world( "port-leds.ethernet33" ) );
}

TEST_F( SetBoardTest, SettingThatTheLampDoesNotKnowIsTold ) {
    const ProgramResult result = kavractl( { "set", "led", "Ethernet33-led", "inactive" } );
    EXPECT_EQ( 1, result.status );
    EXPECT_EQ( "kavractl: Ethernet33-led: inactive: PL_STATUS_INVALID: led Ethernet33 was given an "
               "unexpected setting 4\n",
               result.err );
}

TEST_F( SetBoardTest, ChipThatDoesNotAnswerIsTold ) {
    server.control( "fault bus 4 chip 0x60 nack" );
    const ProgramResult result = kavractl( { "set", "fan", "fan1", "9000" } );
    EXPECT_EQ( 1, result.status );
    EXPECT_THAT( result.err, HasSubstr( "kavractl: fan1: 9000 rpm: PL_STATUS_" ) );
    EXPECT_THAT( result.err, HasSubstr( "chip 0x60 reg 0x11: no acknowledge" ) );
}
