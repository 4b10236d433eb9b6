/// kavractl smbus through the library and the server as they are built, on the emulated board.
#include "tests/HostTool/Kavractl.h"
#include "tests/support/ServerProcess.h"

#include <gmock/gmock.h>

using testing::HasSubstr;
using testing::StartsWith;

class SmbusTest : public KavractlTest {
  protected:
    SmbusTest() {
        environment["SMBUSD_SOCKET"] = server.socketPath();
        environment["KAVRA_BOARD"] = SOURCE_DIR "/boards/VundaT";
    }

    ProgramResult smbus( std::vector<std::string> arguments ) const {
        arguments.insert( arguments.begin(), "smbus" );
        return kavractl( arguments );
    }

    /// What a call that works prints.
    std::string output( const std::vector<std::string> &arguments ) const {
        const ProgramResult result = smbus( arguments );
        EXPECT_EQ( 0, result.status ) << result.err;
        return result.out;
    }

    void expectRefusal( const std::vector<std::string> &arguments,
                        const std::string &message ) const {
        const ProgramResult result = smbus( arguments );
        EXPECT_EQ( 2, result.status );
        EXPECT_THAT( result.err, StartsWith( "kavractl: " + message ) );
        EXPECT_EQ( "", result.out );
    }

    ServerProcess server;
};

TEST_F( SmbusTest, ReadsGoToTheChip ) {
    EXPECT_EQ( "0x0026\n", output( { "word", "cpu-bus", "0x4a", "0" } ) ); // 38.0 °C
    EXPECT_EQ( "0x26\n", output( { "read", "cpu-bus", "74", "0x00" } ) );
    EXPECT_EQ( "0x26\n", output( { "receive", "cpu-bus", "0x4a" } ) );
    EXPECT_EQ( "0x26 0x00\n", output( { "i2cblock", "cpu-bus", "0x4a", "0", "2" } ) );
    EXPECT_EQ( "0x0026\n", output( { "call", "cpu-bus", "0x4a", "0", "0x1234", "-y" } ) );
}

TEST_F( SmbusTest, WritesReachTheChip ) {
    EXPECT_EQ( "", output( { "write", "cpu-bus", "0x4a", "1", "0x10", "-y" } ) );
    EXPECT_EQ( "0x10\n", output( { "read", "cpu-bus", "0x4a", "1" } ) );
    EXPECT_EQ( "", output( { "word", "cpu-bus", "0x4a", "3", "0x0046", "--yes" } ) );
    EXPECT_EQ( "70\nok", server.control( "get cpu-board.tos" ) );
    EXPECT_EQ( "", output( { "i2cblock", "cpu-bus", "0x4a", "3", "2", "0x47", "0", "-y" } ) );
    EXPECT_EQ( "71\nok", server.control( "get cpu-board.tos" ) );
    EXPECT_EQ( "", output( { "send", "cpu-bus", "0x4a", "1", "-y" } ) ); // the pointer
    EXPECT_EQ( "0x10\n", output( { "receive", "cpu-bus", "0x4a" } ) );
}

TEST_F( SmbusTest, ChipBehindMuxesIsReached ) {
    EXPECT_EQ( "0x0023\n", output( { "word", "mux-rear-channel3", "0x48", "0" } ) ); // 35.0 °C
    EXPECT_EQ( "0x00\nok", server.control( "get mux-outer.control" ) );
}

TEST_F( SmbusTest, WriteSaysWhatItWillDoAndIsNotDoneUnasked ) {
    const ProgramResult result =
        runProgram( { "/bin/sh", "-c",
                      "echo n | SMBUSD_SOCKET=" + server.socketPath() +
                          " " BINARY_DIR "/bin/kavractl --board " SOURCE_DIR
                          "/boards/VundaT smbus write cpu-bus 0x4a 1 0x10" } );
    EXPECT_EQ( 2, result.status );
    EXPECT_EQ( "This will write 0x10 (a byte) to register 0x01 of chip 0x4a on bus 'cpu-bus'. "
               "Go on? [y/N] kavractl: nothing was done\n",
               result.err );
    EXPECT_EQ( "0x00\n", output( { "read", "cpu-bus", "0x4a", "1" } ) );
}

TEST_F( SmbusTest, ConfirmedWriteIsDone ) {
    const ProgramResult result =
        runProgram( { "/bin/sh", "-c",
                      "echo y | SMBUSD_SOCKET=" + server.socketPath() +
                          " " BINARY_DIR "/bin/kavractl --board " SOURCE_DIR
                          "/boards/VundaT smbus write cpu-bus 0x4a 1 0x10" } );
    EXPECT_EQ( 0, result.status );
    EXPECT_EQ( "0x10\n", output( { "read", "cpu-bus", "0x4a", "1" } ) );
}

TEST_F( SmbusTest, ScanShowsWhoAnswers ) {
    EXPECT_EQ( "     0  1  2  3  4  5  6  7  8  9  a  b  c  d  e  f\n"
               "40:                         -- -- 4a\n",
               output( { "scan", "cpu-bus", "0x48", "0x4a", "-y" } ) );
}

TEST_F( SmbusTest, ScanOfAWholeBusAsJson ) {
    const auto document = parsed( output( { "scan", "mux-rear-channel3", "-y", "--json" } ) );
    std::vector<unsigned> found;
    for ( const auto &each : document["found"].GetArray() ) {
        found.push_back( each.GetUint() );
    }
    EXPECT_EQ( ( std::vector<unsigned>{ 0x48, 0x70, 0x71 } ), found );
    EXPECT_EQ( 0x03u, document["first"].GetUint() );
    EXPECT_EQ( 0x77u, document["last"].GetUint() );
    EXPECT_TRUE( document["failed"].Empty() );
}

TEST_F( SmbusTest, MuxThatDoesNotAnswerIsNoEmptyBus ) {
    server.control( "set mux-inner.present 0" );
    const ProgramResult result =
        smbus( { "scan", "mux-rear-channel3", "0x48", "0x49", "-y", "--json" } );
    EXPECT_EQ( 1, result.status );
    EXPECT_EQ( 2u, parsed( result.out )["failed"].Size() );
}

TEST_F( SmbusTest, FailureIsToldWithItsReason ) {
    const ProgramResult result = smbus( { "read", "cpu-bus", "0x4b", "0" } );
    EXPECT_EQ( 1, result.status );
    EXPECT_EQ( "", result.out );
    EXPECT_THAT( result.err,
                 HasSubstr( "read of chip 0x4b on bus 'cpu-bus': PL_STATUS_FAILED: " ) );
    EXPECT_THAT( result.err, HasSubstr( "bus 2 chip 0x4b reg 0x00: no acknowledge\n" ) );
    const auto document = parsed( smbus( { "read", "cpu-bus", "0x4b", "0", "--json" } ).out );
    EXPECT_TRUE( document["value"].IsNull() );
    EXPECT_STREQ( "PL_STATUS_FAILED", document["status"].GetString() );
}

TEST_F( SmbusTest, QuickCommandIsNotSupportedByTheLibrary ) {
    const ProgramResult result = smbus( { "quick", "cpu-bus", "0x4a", "-y" } );
    EXPECT_EQ( 1, result.status );
    EXPECT_THAT( result.err, HasSubstr( "PL_STATUS_NOT_SUPPORTED: not supported\n" ) );
}

TEST_F( SmbusTest, ReservedAddressesNeedForce ) {
    expectRefusal( { "read", "cpu-bus", "0x02", "0" }, "chip address 0x02 is a reserved one" );
    expectRefusal( { "read", "cpu-bus", "0x78", "0" }, "chip address 0x78 is a reserved one" );
    EXPECT_EQ( 1, smbus( { "read", "cpu-bus", "0x02", "0", "--force" } ).status );
    expectRefusal( { "read", "cpu-bus", "0x80", "0", "--force" }, "0x80 is too large" );
}

TEST_F( SmbusTest, WrongCallsAreRefused ) {
    expectRefusal( {}, "smbus needs an operation" );
    expectRefusal( { "raed", "cpu-bus" }, "no smbus operation 'raed'; the nearest is 'read'" );
    expectRefusal( { "read", "cpu-bus", "0x4a" }, "usage: kavractl smbus read BUS CHIP REG" );
    expectRefusal( { "read", "cpubus", "0x4a", "0" }, "no bus 'cpubus' in " );
    expectRefusal( { "read", "cpu-bus", "0x4a", "0x100" }, "0x100 is too large: at most 255" );
    expectRefusal( { "read", "cpu-bus", "0x4a", "1x" }, "'1x' is no number" );
    expectRefusal( { "i2cblock", "cpu-bus", "0x4a", "0", "3", "1", "-y" },
                   "a length of 3 and 1 bytes do not agree" );
    expectRefusal( { "scan", "cpu-bus", "0x20", "0x10", "-y" }, "the first address is above" );
    // A device's label is no bus's.
    expectRefusal( { "read", "inlet", "0x48", "0" }, "no bus 'inlet' in " );
}

TEST_F( SmbusTest, BusWhoseDevicesAreNoListIsRefused ) {
    folder.topology( R"([ { "type": "I2C", "id": 0, "label": "main", "devices": {} } ])" );
    folder.devices( "[]" );
    environment["KAVRA_BOARD"] = folder.path();
    expectRefusal( { "read", "main", "0x48", "0" },
                   folder.path() + "/topology.json: \"devices\" of bus 'main' must be an array" );
}

TEST_F( SmbusTest, NoServerIsToldBeforeAnything ) {
    server.stop();
    EXPECT_EQ( 3, smbus( { "read", "cpu-bus", "0x4a", "0" } ).status );
}
