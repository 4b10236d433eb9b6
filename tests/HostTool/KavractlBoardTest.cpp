/// kavractl, the library and the server as they are built, on the emulated VundaT board.
#include "tests/HostTool/Kavractl.h"
#include "tests/support/ServerProcess.h"

#include <gmock/gmock.h>

#include <array>
#include <csignal>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <regex>

using testing::EndsWith;
using testing::HasSubstr;

class KavractlBoardTest : public KavractlTest {
  protected:
    KavractlBoardTest() {
        environment["SMBUSD_SOCKET"] = server.socketPath();
        environment["KAVRA_BOARD"] = SOURCE_DIR "/boards/VundaT";
    }

    double temperature( const std::string &sensor ) const {
        const auto document = parsed( kavractl( { "show", "--json", sensor } ).out );
        return document["devices"][0]["readings"]["temperature"]["value"].GetDouble();
    }

    /// A board of the test's own: the real topology, and these devices.
    void ownDevices( const std::string &text ) {
        std::filesystem::copy( SOURCE_DIR "/boards/VundaT/topology.json",
                               folder.file( "topology.json" ),
                               std::filesystem::copy_options::overwrite_existing );
        folder.devices( text );
        environment["KAVRA_BOARD"] = folder.path();
    }

    ServerProcess server;
};

TEST_F( KavractlBoardTest, EachClassHasItsTable ) {
    const ProgramResult result = kavractl(
        { "show", "inlet", "asic-right", "fan1", "psu1-fan1", "psu2", "fan1-slot", "psu1-slot",
          "Ethernet1", "Ethernet33", "system-led", "psu1-empty", "cpu-board-raw", "switch" } );
    EXPECT_EQ( 0, result.status ) << result.err;
    EXPECT_EQ( "temp_sensor\n"
               "  NAME        TEMPERATURE   ALERT  CRITICAL  STATE  REASON\n"
               "  inlet            24.5 C  45.0 C    55.0 C  ok\n"
               "  asic-right       43.5 C  95.0 C   105.0 C  ok\n"
               "\n"
               "fan\n"
               "  NAME           SPEED  DEBUG  STATE  REASON\n"
               "  fan1        9800 rpm  n/a    ok\n"
               "  psu1-fan1  12112 rpm  n/a    ok\n"
               "\n"
               "psu\n"
               "  NAME  POWER OK  INPUT VOLTAGE  INPUT CURRENT  INPUT POWER  OUTPUT VOLTAGE  "
               "OUTPUT CURRENT  OUTPUT POWER  STATE  REASON\n"
               "  psu2  yes            230.00 V         0.97 A     224.00 W         12.12 V        "
               " 17.31 A      210.00 W  ok\n"
               "\n"
               "slot\n"
               "  NAME       PRESENT  MODEL          SERIAL          STATE  REASON\n"
               "  fan1-slot  yes      FAN-1U-1x1C-F  n/a             ok\n"
               "  psu1-slot  yes      DPS550AB6A     GTVD1615001656  ok\n"
               "\n"
               "xcvr\n"
               "  NAME        TYPE  PRESENT  TX FAULT  RX LOS  TX DISABLE  MOD SEL  LP MODE  RESET "
               " INTERRUPT    AGE  STATE  REASON\n"
               "  Ethernet1   qsfp  yes      n/a       n/a     n/a         unread   unread   no    "
               " no         0.N s  ok\n"
               "  Ethernet33  sfp   yes      no        no      no          n/a      n/a      n/a   "
               " n/a        0.N s  ok\n"
               "\n"
               "led\n"
               "  NAME        STATE  REASON\n"
               "  system-led  added\n"
               "\n"
               "gpio\n"
               "  NAME        VALUE  STATE  REASON\n"
               "  psu1-empty  0      ok\n"
               "\n"
               "smbus\n"
               "  NAME           STATE  REASON\n"
               "  cpu-board-raw  added\n"
               "\n"
               "system\n"
               "  NAME    RELOAD CAUSE  RELOAD TIME  RELOAD DETAIL  STATE  REASON\n"
               "  switch  n/a                   n/a  n/a            added\n",
               std::regex_replace( result.out, std::regex( R"(\d\.\d s )" ), "0.N s " ) );
}

// Whoever looks at a cage at once would see what nobody has read: "no module".
TEST_F( KavractlBoardTest, SignalIsAsOldAsThePollThatReadIt ) {
    const auto document = parsed( kavractl( { "show", "--json", "Ethernet1" } ).out );
    const auto &readings = document["devices"][0]["readings"];
    EXPECT_STREQ( "old", readings["present"]["freshness"].GetString() );
    EXPECT_GT( readings["present"]["age_s"].GetDouble(), 0 );
    EXPECT_STREQ( "fresh", readings["type"]["freshness"].GetString() );
    EXPECT_STREQ( "never", readings["mod_sel"]["freshness"].GetString() );
    EXPECT_TRUE( readings["mod_sel"]["value"].IsNull() );
}

TEST_F( KavractlBoardTest, ReadingFollowsTheWorld ) {
    EXPECT_EQ( "ok", server.control( "set outlet.temperature 41.5" ) );
    EXPECT_EQ( 41.5, temperature( "outlet" ) );
}

TEST_F( KavractlBoardTest, SensorAboveItsThresholdIsTrouble ) {
    server.control( "set inlet.temperature 50" );
    const ProgramResult result = kavractl( { "show", "inlet" } );
    EXPECT_EQ( 1, result.status );
    EXPECT_THAT( result.out, HasSubstr( "50.0 C  45.0 C    55.0 C  alert\n" ) );
}

TEST_F( KavractlBoardTest, ChipThatIsNotThereNamesTheEntry ) {
    // The driver writes the thresholds when a sensor is added, and asserts that they arrive.
    ownDevices( R"([
        { "class": "temp_sensor", "name": "ghost",
          "arguments": { "did": 1, "driver": "LM75", "address": { "address": 79 } },
          "thresholds": { "alert": 45, "critical": 55 } } ])" );
    const ProgramResult result = kavractl( { "show" } );
    EXPECT_EQ( -SIGABRT, result.status );
    EXPECT_THAT( result.err,
                 HasSubstr( "device_->setThreshold( Threshold::Alert, value ) == PL_STATUS_OK" ) );
    EXPECT_THAT( result.err,
                 EndsWith( "kavractl: while adding 'ghost' (" + folder.path() +
                           "/devices.json:2); name the other devices to go on without it\n" ) );
}

TEST_F( KavractlBoardTest, MissingArgumentNamesTheEntry ) {
    ownDevices( R"([ { "class": "gpio", "name": "line", "arguments": { "driver": "Dummy" } } ])" );
    const ProgramResult result = kavractl( { "show" } );
    EXPECT_EQ( -SIGABRT, result.status );
    EXPECT_THAT( result.err, HasSubstr( "json.HasMember( \"did\" )" ) );
    EXPECT_THAT( result.err,
                 HasSubstr( "while adding 'line' (" + folder.path() + "/devices.json:1);" ) );
}

TEST_F( KavractlBoardTest, ClassThatTheDriverLacksNamesTheEntry ) {
    ownDevices( R"([ { "class": "fan", "name": "fan1",
        "arguments": { "did": 1, "driver": "LM75", "address": { "address": 72 } } } ])" );
    const ProgramResult result = kavractl( { "show" } );
    EXPECT_EQ( 2, result.status );
    EXPECT_EQ( "kavractl: " + folder.path() +
                   "/devices.json:1: 'fan1': driver 'LM75', class fan: Not implemented newFan\n",
               result.err );
}

TEST_F( KavractlBoardTest, UnknownDriverIsAFailedDevice ) {
    ownDevices( R"([ { "class": "fan", "name": "fan1",
        "arguments": { "did": 1, "driver": "LM57", "address": { "address": 72 } } } ])" );
    const ProgramResult result = kavractl( { "show" } );
    EXPECT_EQ( 1, result.status );
    EXPECT_THAT( result.out, HasSubstr( "not added: driver LM57 not found; factory function "
                                        "returned a null object; DeviceBase::create() failed\n" ) );
}

TEST_F( KavractlBoardTest, ArgumentThatIsNoNumberNamesTheEntry ) {
    ownDevices( R"([ { "class": "smbus", "name": "raw",
        "arguments": { "did": 6, "driver": "SmbusProxyDriver", "address": { "address": 74 },
                       "driverArgs": { "localReadDelayMs": "x" } } } ])" );
    const ProgramResult result = kavractl( { "show" } );
    EXPECT_EQ( 2, result.status );
    EXPECT_THAT( result.err, EndsWith( "'raw': an argument is not a number (stoi)\n" ) );
}

TEST_F( KavractlBoardTest, BusThatIsNotThereIsAFailedDevice ) {
    ownDevices( R"([ { "class": "smbus", "name": "raw", "bus": "no-bus", "address": 5 } ])" );
    const ProgramResult result = kavractl( { "show", "--json" } );
    EXPECT_EQ( 1, result.status );
    EXPECT_THAT( result.out, HasSubstr( "smbus_add failed: device does not exist in topology" ) );
}

TEST_F( KavractlBoardTest, BrokenTopologySchemaNamesTheDocument ) {
    ownDevices( R"([ { "class": "system", "name": "switch" } ])" );
    folder.topology( "{}" );
    const ProgramResult result = kavractl( { "show" } );
    EXPECT_EQ( -SIGABRT, result.status );
    EXPECT_THAT( result.err, HasSubstr( "json.IsArray()" ) );
    EXPECT_THAT( result.err,
                 EndsWith( "kavractl: while loading " + folder.path() + "/topology.json\n" ) );
}

TEST_F( KavractlBoardTest, DeadServerIsToldAtOnce ) {
    server.kill();
    const ProgramResult result = kavractl( { "show" } );
    EXPECT_EQ( 3, result.status );
    EXPECT_THAT( result.err, HasSubstr( "no SMBus server at " + server.socketPath() +
                                        ": Connection refused\n  start one:   kavra-smbusd " ) );
}

TEST_F( KavractlBoardTest, WaitingEndsWhenTheServerComes ) {
    server.stop();
    const std::string command = "SMBUSD_SOCKET=" + server.socketPath() +
                                " " BINARY_DIR "/bin/kavractl show --wait --board " SOURCE_DIR
                                "/boards/VundaT inlet 2>&1";
    FILE *output = popen( command.c_str(), "r" );
    ASSERT_NE( nullptr, output );
    std::array<char, 256> line;
    ASSERT_NE( nullptr, fgets( line.data(), line.size(), output ) );
    EXPECT_EQ( "kavractl: waiting up to 30 s for the SMBus server at " + server.socketPath() +
                   " (No such file or directory)\n",
               std::string( line.data() ) );
    server.start();
    std::string rest;
    while ( fgets( line.data(), line.size(), output ) ) {
        rest += line.data();
    }
    EXPECT_EQ( 0, pclose( output ) );
    EXPECT_THAT( rest, HasSubstr( "24.5 C" ) );
}

TEST_F( KavractlBoardTest, SimulatedSensorsReadAsTheirRegisterRulesMakeIt ) {
    const ProgramResult result =
        kavractl( { "show", "--simulate=" + folder.file( "registers" ), "inlet" } );
    EXPECT_EQ( 0, result.status ) << result.err;
    EXPECT_THAT( result.out, HasSubstr( "  inlet       -1.0 C  45.0 C    55.0 C  ok\n" ) );
    std::string registers;
    std::ifstream( folder.file( "registers/LM75-inlet" ) ) >> registers;
    EXPECT_EQ( "276e6e", registers );
}

TEST_F( KavractlBoardTest, MinimalHostPrintsATemperature ) {
    const ProgramResult result = runProgram( { BINARY_DIR "/bin/minimal_host", PLATFORM_LIBRARY,
                                               SOURCE_DIR "/boards/VundaT/topology.json" },
                                             { "SMBUSD_SOCKET=" + server.socketPath() } );
    EXPECT_EQ( 0, result.status ) << result.err;
    EXPECT_EQ( "24.5 C\n", result.out );
}

TEST_F( KavractlBoardTest, MinimalHostSaysWhatItCannotFind ) {
    const std::string host = BINARY_DIR "/bin/minimal_host";
    EXPECT_EQ( 2, runProgram( { host } ).status );
    EXPECT_EQ( 3, runProgram( { host, "/no/library.so", "t.json" } ).status );
    EXPECT_EQ( 2, runProgram( { host, PLATFORM_LIBRARY, "/no/t.json" } ).status );
}
