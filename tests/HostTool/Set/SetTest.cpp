/// kavractl set, on a library whose devices trace what they are told.
#include "tests/HostTool/Kavractl.h"

#include <gmock/gmock.h>

using testing::EndsWith;
using testing::HasSubstr;
using testing::Not;

class SetTest : public KavractlTest {
  protected:
    SetTest() : server( socketPath() ) {
        environment["KAVRA_LIBRARY"] = FAKE_LIBRARY;
        folder.devices( R"([
            { "class": "fan", "name": "free", "arguments": { "did": 1 } },
            { "class": "fan", "name": "limited",
              "arguments": { "did": 2, "driverArgs": { "fanId": 1, "maxFanRpm": 10000 } } },
            { "class": "fan", "name": "tray-fan",
              "arguments": { "did": 3, "driverArgs": { "fanId": "4" } } },
            { "class": "slot", "name": "tray",
              "arguments": { "did": 3, "behave": "tray", "driverArgs": { "fanId": 4 } } },
            { "class": "fan", "name": "fixed", "arguments": { "behave": "fixed-speed" } },
            { "class": "fan", "name": "broken", "arguments": { "behave": "fail-on-read" } },
            { "class": "led", "name": "lamp", "arguments": {} },
            { "class": "xcvr", "name": "Ethernet1", "arguments": { "did": 5, "kind": "qsfp",
              "driverArgs": { "getResetReg": 32, "setResetReg": 32 } } },
            { "class": "xcvr", "name": "Ethernet2", "arguments": { "did": 5, "kind": "qsfp",
              "driverArgs": { "getResetReg": 32, "setResetReg": "33" } } },
            { "class": "xcvr", "name": "Ethernet33", "arguments": { "did": 5 } },
            { "class": "gpio", "name": "line", "arguments": {} },
            { "class": "gpio", "name": "refused", "arguments": { "behave": "refuse" } } ])" );
    }

    ProgramResult set( std::vector<std::string> arguments ) const {
        arguments.insert( arguments.begin(), { "--trace", "1", "set" } );
        return kavractl( arguments );
    }

    void expectTold( const std::string &what, const std::string &printed,
                     const std::vector<std::string> &arguments ) const {
        const ProgramResult result = set( arguments );
        EXPECT_EQ( 0, result.status ) << result.err;
        EXPECT_THAT( result.err, HasSubstr( "trace 1: told " + what + "\n" ) );
        EXPECT_EQ( printed + "\n", result.out );
    }

    void expectRefusal( const std::string &message,
                        const std::vector<std::string> &arguments ) const {
        const ProgramResult result = set( arguments );
        EXPECT_EQ( 2, result.status );
        EXPECT_THAT( result.err, EndsWith( "kavractl: " + message + "\n" ) );
        EXPECT_THAT( result.err, Not( HasSubstr( "told" ) ) );
        EXPECT_EQ( "", result.out );
    }

    ListeningSocket server;
};

TEST_F( SetTest, EachClassIsToldWhatTheWordsSay ) {
    expectTold( "rpm 9000", "free: 9000 rpm", { "fan", "free", "9000" } );
    expectTold( "light 2", "lamp: warning", { "led", "lamp", "warning" } );
    expectTold( "reset 1", "Ethernet1: reset on", { "xcvr", "Ethernet1", "reset", "on" } );
    expectTold( "txdisable 0", "Ethernet33: txdisable off",
                { "xcvr", "Ethernet33", "txdisable", "off" } );
    expectTold( "line 1", "line: 1", { "gpio", "line", "1" } );
    expectTold( "line 0", "line: 0", { "gpio", "line", "0" } );
}

TEST_F( SetTest, PercentIsOfTheFullSpeedInTheFansArguments ) {
    expectTold( "rpm 6000", "limited: 6000 rpm", { "fan", "limited", "60%" } );
}

TEST_F( SetTest, PercentIsOfTheFullSpeedInTheTraysDescription ) {
    expectTold( "rpm 5000", "tray-fan: 5000 rpm", { "fan", "tray-fan", "25%" } );
}

TEST_F( SetTest, SpeedIsCheckedBeforeTheCall ) {
    expectRefusal( "the full speed of 'free' is not known: give a speed in rpm",
                   { "fan", "free", "60%" } );
    expectRefusal( "10001 rpm is more than the full speed of 'limited', 10000 rpm",
                   { "fan", "limited", "10001" } );
    expectRefusal( "20001 rpm is more than the full speed of 'tray-fan', 20000 rpm",
                   { "fan", "tray-fan", "20001" } );
    expectRefusal( "101% is more than 100%", { "fan", "limited", "101%" } );
    expectRefusal( "'fast' is no speed; 9000 and 60% are", { "fan", "limited", "fast" } );
    expectRefusal( "'-5' is no speed; 9000 and 60% are", { "--", "fan", "limited", "-5" } );
    expectRefusal( "'99999999999' is no speed; 9000 and 60% are",
                   { "fan", "limited", "99999999999" } );
}

TEST_F( SetTest, WordsAreCheckedBeforeTheCall ) {
    expectRefusal( "no light setting 'waning'; the nearest is 'warning'",
                   { "led", "lamp", "waning" } );
    expectRefusal( "no signal that can be set 'rest'; the nearest is 'reset'",
                   { "xcvr", "Ethernet1", "rest", "on" } );
    expectRefusal( "no state 'of'; the nearest is 'off'", { "xcvr", "Ethernet1", "reset", "of" } );
    expectRefusal( "no value '2'; the nearest is '0'", { "gpio", "line", "2" } );
    expectRefusal( "usage: kavractl set xcvr NAME reset|txdisable on|off",
                   { "xcvr", "Ethernet1", "reset" } );
    expectRefusal( "nothing can be set of 'lde'; the nearest is 'led', and kavractl set --help has "
                   "all of them",
                   { "lde", "lamp", "off" } );
}

TEST_F( SetTest, NameIsThatOfADeviceOfTheClass ) {
    expectRefusal( "no fan 'limted' in " + folder.path() + "/devices.json; did you mean 'limited'?",
                   { "fan", "limted", "1" } );
    expectRefusal( "'lamp' is a led, not a fan", { "fan", "lamp", "1" } );
}

TEST_F( SetTest, OperationThatTheDeviceLacksIsRefused ) {
    expectRefusal( "'fixed': its speed cannot be set", { "fan", "fixed", "1" } );
    expectRefusal( "'Ethernet33': it is no QSFP cage and has no reset",
                   { "xcvr", "Ethernet33", "reset", "on" } );
    expectRefusal( "'Ethernet1': it is no SFP cage and has no transmitter to switch off",
                   { "xcvr", "Ethernet1", "txdisable", "on" } );
}

TEST_F( SetTest, RegisterThatNobodyReadsIsNotWritten ) {
    expectRefusal( "'Ethernet2': register 33 is written and never read: the bits of the other "
                   "cages in it would become 0",
                   { "xcvr", "Ethernet2", "reset", "on" } );
}

TEST_F( SetTest, FailureHasTheStatusAndTheLibrarysLine ) {
    const ProgramResult result = set( { "fan", "broken", "5000" } );
    EXPECT_EQ( 1, result.status );
    EXPECT_EQ( "", result.out );
    EXPECT_THAT( result.err,
                 EndsWith( "kavractl: broken: 5000 rpm: PL_STATUS_FAILED: execute: failure in "
                           "response bus 0 chip 0x48: no acknowledge\n" ) );
}

TEST_F( SetTest, SettingThatTheLampRefusesIsAFailure ) {
    const ProgramResult result = set( { "led", "lamp", "inactive" } );
    EXPECT_EQ( 1, result.status );
    EXPECT_THAT( result.err, EndsWith( "kavractl: lamp: inactive: PL_STATUS_INVALID: led d was "
                                       "given an unexpected setting 4\n" ) );
}

TEST_F( SetTest, DeviceThatTheLibraryRefusesIsTrouble ) {
    const ProgramResult result = set( { "gpio", "refused", "1" } );
    EXPECT_EQ( 1, result.status );
    EXPECT_THAT( result.err, HasSubstr( "kavractl: 'refused': not added: parsing devArgs" ) );
}

TEST_F( SetTest, JsonSaysWhatWasSetAndWhatCameOfIt ) {
    EXPECT_EQ( R"({"name":"limited","class":"fan","set":"6000 rpm","value":6000,)"
               R"("status":"PL_STATUS_OK","reason":null})"
               "\n",
               set( { "fan", "limited", "60%", "--json" } ).out );
    const ProgramResult failed = set( { "led", "lamp", "inactive", "--json" } );
    EXPECT_EQ( 1, failed.status );
    EXPECT_EQ( R"({"name":"lamp","class":"led","set":"inactive","value":4,)"
               R"("status":"PL_STATUS_INVALID","reason":"led d was given an unexpected setting 4"})"
               "\n",
               failed.out );
}

TEST_F( SetTest, BeaconBlinksForItsTimeAndIsOffBehindIt ) {
    const ProgramResult result = set( { "led", "lamp", "beacon", "--for", "1", "--trace", "4" } );
    EXPECT_EQ( 0, result.status ) << result.err;
    EXPECT_EQ( "lamp: beacon\n", result.out );
    EXPECT_THAT( result.err, HasSubstr( "led blink timer hit notifying 1 leds" ) );
    EXPECT_THAT( result.err, EndsWith( "trace 1: told light 0\n" ) );
}

TEST_F( SetTest, TimeIsChecked ) {
    EXPECT_THAT( set( { "led", "lamp", "beacon", "--for", "0" } ).err,
                 EndsWith( "kavractl: --for takes seconds from 1 to 86400, not '0'\n" ) );
}
