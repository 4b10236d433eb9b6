/// Snapshots of the emulated VundaT board, and what kavractl says of their differences.
#include "HostTool/Snapshot/StateFile.h"
#include "tests/HostTool/Kavractl.h"
#include "tests/support/ServerProcess.h"

#include <gmock/gmock.h>
#include <sys/stat.h>

#include <csignal>
#include <filesystem>
#include <fstream>
#include <iterator>

using HostTool::Freshness;
using HostTool::Snapshot::BoardState;
using HostTool::Snapshot::Record;
using testing::EndsWith;
using testing::HasSubstr;
using testing::StartsWith;

namespace {

class SnapshotBoardTest : public KavractlTest {
  protected:
    SnapshotBoardTest() {
        environment["SMBUSD_SOCKET"] = server.socketPath();
        environment["KAVRA_BOARD"] = SOURCE_DIR "/boards/VundaT";
    }

    void turn( const std::string &knob, const std::string &value ) {
        EXPECT_EQ( "ok", server.control( "set " + knob + " " + value ) );
    }

    std::string snapshot( const std::string &name, std::vector<std::string> devices = {} ) const {
        std::string path = folder.file( name );
        devices.insert( devices.begin(), { "snapshot", "--output", path } );
        const ProgramResult result = kavractl( devices );
        EXPECT_EQ( "", result.out );
        EXPECT_TRUE( std::filesystem::exists( path ) ) << result.err;
        return path;
    }

    BoardState stateOf( const std::vector<std::string> &devices = {} ) const {
        return HostTool::Snapshot::readStateFile( snapshot( "state.json", devices ) );
    }

    static const Record &record( const BoardState &board, const std::string &device,
                                 const std::string &key ) {
        for ( const auto *section :
              { &board.find( device )->identity, &board.find( device )->values,
                &board.find( device )->settings } ) {
            if ( const Record *found = HostTool::Snapshot::find( *section, key ) ) {
                return *found;
            }
        }
        throw std::runtime_error( device + " has no " + key );
    }

    ServerProcess server;
};

TEST_F( SnapshotBoardTest, HoldsTheWholeBoard ) {
    const BoardState state = stateOf();
    EXPECT_EQ( 110U, state.devices.size() );
    EXPECT_EQ( "VundaT", state.origin.board );
    EXPECT_TRUE( state.origin.isWhole );
    EXPECT_TRUE( state.origin.serverIsUp );
    EXPECT_FALSE( state.origin.isSimulated );
    EXPECT_THAT( state.origin.libraryFile, StartsWith( "libKavraDriversVundaT.so.1" ) );
    EXPECT_EQ( "libKavraDriversVundaT.so.1", state.origin.librarySoname );
    EXPECT_EQ( Record::Value( 24.5 ), record( state, "inlet", "temperature" ).value );
    EXPECT_EQ( Record::Value( "DPS550AB6A" ), record( state, "psu1-slot", "model" ).value );
    EXPECT_EQ( Record::Value( 19750.0 ), record( state, "fan1", "full_speed" ).value );
    EXPECT_EQ( Record::Value( 20000.0 ), record( state, "psu1-fan1", "full_speed" ).value );
}

TEST_F( SnapshotBoardTest, TellsFreshFromOldAndFromNeverRead ) {
    const BoardState state = stateOf( { "inlet", "Ethernet1", "system-led", "fan1" } );
    EXPECT_FALSE( state.origin.isWhole );
    EXPECT_EQ( Freshness::fresh, record( state, "inlet", "temperature" ).freshness );
    EXPECT_EQ( Freshness::old, record( state, "Ethernet1", "interrupt" ).freshness );
    EXPECT_TRUE( record( state, "Ethernet1", "interrupt" ).age.has_value() );
    EXPECT_EQ( Freshness::never, record( state, "system-led", "light" ).freshness );
    EXPECT_EQ( "a lamp cannot be asked", record( state, "system-led", "light" ).reason );
    EXPECT_EQ( "its tray was not read", record( state, "fan1", "full_speed" ).reason );
    EXPECT_EQ( Freshness::none, record( state, "Ethernet1", "rx_los" ).freshness );
}

TEST_F( SnapshotBoardTest, IsCompleteWhenSomethingFails ) {
    turn( "psu1.fan2_fault", "1" );
    const ProgramResult result = kavractl( { "snapshot", "psu1-fan1", "psu1-fan2" } );
    EXPECT_EQ( 1, result.status );
    const BoardState state = HostTool::Snapshot::readState( "stdout", result.out );
    EXPECT_TRUE( record( state, "psu1-fan1", "speed" ).isKnown() );
    const Record &failed = record( state, "psu1-fan2", "speed" );
    EXPECT_FALSE( failed.isKnown() );
    EXPECT_THAT( failed.status, StartsWith( "PL_STATUS_" ) );
    EXPECT_NE( "PL_STATUS_OK", failed.status );
    EXPECT_NE( "", failed.reason );
}

TEST_F( SnapshotBoardTest, FileMayBeReadByAll ) {
    const std::string path = snapshot( "golden.json", { "inlet" } );
    struct stat status = {};
    ASSERT_EQ( 0, stat( path.c_str(), &status ) );
    EXPECT_EQ( 0644U, status.st_mode & 07777U );
}

TEST_F( SnapshotBoardTest, SameBoardHasNoDifference ) {
    const std::string golden = snapshot( "golden.json" );
    const std::string now = snapshot( "now.json" );
    const ProgramResult files = kavractl( { "diff", golden, now } );
    EXPECT_EQ( 0, files.status );
    EXPECT_EQ( "no difference\n", files.out );
    const ProgramResult board = kavractl( { "diff", golden } );
    EXPECT_EQ( 0, board.status ) << board.err;
    EXPECT_EQ( "no difference\n", board.out );
}

TEST_F( SnapshotBoardTest, SaysWhatAPersonWouldSay ) {
    const std::string golden = snapshot( "golden.json" );
    turn( "fans.tray3_present", "0" );
    turn( "psu2.present", "0" );
    turn( "psu2-eeprom.model", "VPS550F-R" );
    turn( "psu2-eeprom.serial", "VR00042" );
    turn( "psu2.present", "1" );
    turn( "psu1.load", "280" );
    turn( "inlet.temperature", "34" );
    turn( "outlet.temperature", "70" );
    turn( "Ethernet5.present", "0" );
    turn( "Ethernet33.rx_los", "1" );
    const ProgramResult result = kavractl( { "diff", golden, "--tolerance", "W=10%" } );
    EXPECT_EQ( 1, result.status );
    EXPECT_EQ( "Missing\n"
               "  fan3 is missing\n"
               "  the module of Ethernet5 is missing\n"
               "\n"
               "Other parts\n"
               "  psu2 is another model: VPS550F-R, was DPS550AB6A\n"
               "\n"
               "State and failures\n"
               "  outlet is above its alert threshold of 65.0 C\n"
               "\n"
               "Values\n"
               "  inlet is 9.5 degrees warmer (34.0 C, was 24.5 C)\n"
               "  outlet is 35.0 degrees warmer (70.0 C, was 35.0 C)\n"
               "  psu1 draws 42.2 W more (298.0 W, was 255.8 W)\n"
               "  psu1 delivers 40.0 W more (280.0 W, was 240.0 W)\n"
               "  Ethernet33 lost its signal\n"
               "\n"
               "9 differences\n",
               result.out );
}

TEST_F( SnapshotBoardTest, OtherUnitOfTheSameModelIsSeen ) {
    const std::string golden = snapshot( "golden.json", { "psu1-slot" } );
    turn( "psu1.serial", "GTVD0000000042" );
    EXPECT_THAT( kavractl( { "diff", golden } ).out,
                 HasSubstr( "psu1 is another unit: serial GTVD0000000042, was GTVD1615001656\n" ) );
}

TEST_F( SnapshotBoardTest, OnlyTheDevicesOfTheGoldenOneAreRead ) {
    const std::string golden = snapshot( "golden.json", { "inlet" } );
    turn( "outlet.temperature", "60" );
    EXPECT_EQ( "no difference\n", kavractl( { "diff", golden } ).out );
}

TEST_F( SnapshotBoardTest, FailureNamesTheStatusAndTheLibrarysLine ) {
    const std::string golden = snapshot( "golden.json", { "psu1-fan2" } );
    turn( "psu1.fan2_fault", "1" );
    const ProgramResult result = kavractl( { "diff", golden } );
    EXPECT_EQ( 1, result.status );
    EXPECT_THAT( result.out, StartsWith( "State and failures\n  psu1-fan2's speed cannot be read: "
                                         "PL_STATUS_" ) );
    EXPECT_THAT( result.out, HasSubstr( " (was 12112 rpm)\n" ) );
}

TEST_F( SnapshotBoardTest, DifferencesAsJson ) {
    const std::string golden = snapshot( "golden.json", { "inlet" } );
    turn( "inlet.temperature", "34" );
    const ProgramResult result = kavractl( { "diff", "--json", golden } );
    EXPECT_EQ( 1, result.status );
    const rapidjson::Document document = parsed( result.out );
    EXPECT_TRUE( document["now"]["file"].IsNull() );
    ASSERT_EQ( 1U, document["differences"].Size() );
    EXPECT_STREQ( "inlet", document["differences"][0]["device"].GetString() );
    EXPECT_DOUBLE_EQ( 34, document["differences"][0]["now"].GetDouble() );
}

TEST_F( SnapshotBoardTest, SimulatedRegistersAreNoted ) {
    const std::string golden = snapshot( "golden.json", { "inlet" } );
    const ProgramResult result =
        kavractl( { "diff", golden, "--simulate=" + folder.file( "registers" ) } );
    EXPECT_THAT( result.out, StartsWith( "note: the registers are simulated, and were not\n" ) );
}

TEST_F( SnapshotBoardTest, StandardInputIsASnapshotToo ) {
    const std::string golden = snapshot( "golden.json", { "inlet" } );
    const std::string command =
        "'" BINARY_DIR "/bin/kavractl' diff - '" + golden + "' < '" + golden + "'";
    const ProgramResult result = runProgram( { "/bin/sh", "-c", command } );
    EXPECT_EQ( 0, result.status ) << result.err;
    EXPECT_EQ( "no difference\n", result.out );
}

TEST_F( SnapshotBoardTest, OutputThatTakesNothingIsNoted ) {
    const std::string golden = snapshot( "golden.json", { "inlet" } );
    for ( const std::string call : { "snapshot", "diff" } ) {
        for ( const std::string redirection : { ">/dev/full", ">&-" } ) {
            const std::string operand = call == "diff" ? " '" + golden + "' " : " inlet ";
            const ProgramResult result =
                runProgram( { "/bin/sh", "-c",
                              "'" BINARY_DIR "/bin/kavractl' " + call + operand + redirection },
                            { "SMBUSD_SOCKET=" + server.socketPath(),
                              "KAVRA_BOARD=" SOURCE_DIR "/boards/VundaT" } );
            EXPECT_EQ( 2, result.status ) << call << operand << redirection;
            EXPECT_THAT( result.err, StartsWith( "kavractl: cannot write to standard output: " ) );
        }
    }
}

TEST_F( SnapshotBoardTest, LibraryThatGivesUpLeavesTheOldFile ) {
    folder.write( "golden.json", "old" );
    turn( "cpu-board.present", "0" );
    const ProgramResult result =
        kavractl( { "snapshot", "--output", folder.file( "golden.json" ), "cpu-board" } );
    EXPECT_EQ( -SIGABRT, result.status );
    std::string text;
    std::ifstream( folder.file( "golden.json" ) ) >> text;
    EXPECT_EQ( "old", text );
}

/// Calls that reach no board.
class SnapshotCallTest : public KavractlTest {
  protected:
    SnapshotCallTest() { folder.devices( "[]" ); }

    void expectRefusal( int status, const std::string &message,
                        const std::vector<std::string> &call ) const {
        const ProgramResult result = kavractl( call );
        EXPECT_EQ( status, result.status );
        EXPECT_EQ( "", result.out );
        EXPECT_THAT( result.err, StartsWith( "kavractl: " + message ) );
    }

    std::string golden() const {
        folder.write( "golden.json",
                      R"({ "snapshot": 1, "tool": "1", "taken": "", "board": { "name": "b",
                           "topology": "", "devices": "", "whole": true, "simulated": false },
                           "library": { "file": "", "soname": null },
                           "server": { "up": true, "reason": null }, "devices": {} })" );
        return folder.file( "golden.json" );
    }
};

TEST_F( SnapshotCallTest, NoServer ) {
    expectRefusal( 3, "no SMBus server at " + socketPath(), { "snapshot" } );
    expectRefusal( 3, "no SMBus server at " + socketPath(), { "diff", golden() } );
}

TEST_F( SnapshotCallTest, NoLibrary ) {
    expectRefusal( 3, "the platform library cannot be loaded",
                   { "snapshot", "--library", "/none.so" } );
    expectRefusal( 3, "the platform library cannot be loaded",
                   { "diff", golden(), "--library", "/none.so" } );
}

TEST_F( SnapshotCallTest, TwoFilesNeedNeither ) {
    const ProgramResult result = kavractl( { "diff", golden(), golden() } );
    EXPECT_EQ( 0, result.status ) << result.err;
    EXPECT_EQ( "no difference\n", result.out );
}

TEST_F( SnapshotCallTest, FolderOfTheOutputIsMissing ) {
    const std::string path = folder.file( "none/golden.json" );
    expectRefusal( 2, "cannot write " + path + ": No such file or directory\n",
                   { "snapshot", "--output", path } );
}

TEST_F( SnapshotCallTest, UnknownDevice ) {
    expectRefusal( 2, "no device 'inlet' in ", { "snapshot", "inlet" } );
}

TEST_F( SnapshotCallTest, WrongNumberOfFiles ) {
    expectRefusal( 2, "diff takes one or two files: kavractl diff GOLDEN [NOW]\n", { "diff" } );
    expectRefusal( 2, "diff takes one or two files", { "diff", "a", "b", "c" } );
    expectRefusal( 2, "only one of GOLDEN and NOW can be standard input\n", { "diff", "-", "-" } );
}

TEST_F( SnapshotCallTest, FileThatIsNone ) {
    const std::string path = folder.file( "topology.json" );
    expectRefusal( 2, path + ":1:1: this is no snapshot", { "diff", path } );
    expectRefusal( 2, "cannot read " + folder.path() + ": Is a directory\n",
                   { "diff", folder.path() } );
}

TEST_F( SnapshotCallTest, ToleranceIsReadBeforeTheFiles ) {
    expectRefusal( 2, "--tolerance: no unit 'K'; there are C, rpm, V, A, W\n",
                   { "diff", "none.json", "--tolerance", "K=3" } );
}

} // namespace
