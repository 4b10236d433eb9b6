// --check-config: what would be served is read, and nothing is served.
#include "tests/SmbusServer/Service.h"
#include "tests/support/RunProgram.h"

#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>
#include <string>
#include <vector>

namespace fs = std::filesystem;
using namespace Service;

class CheckConfigTest : public testing::Test {
  protected:
    ProgramResult check( std::vector<std::string> arguments ) const {
        arguments.insert( arguments.begin(), { program, "--check-config", "--socket", socket } );
        return runProgram( arguments );
    }

    void expectFine( const std::vector<std::string> &arguments, const std::string &out ) const {
        const ProgramResult result = check( arguments );
        EXPECT_EQ( 0, result.status );
        EXPECT_EQ( out, result.out );
        EXPECT_EQ( "", result.err );
        EXPECT_FALSE( fs::exists( socket ) );
    }

    void expectWrong( const std::vector<std::string> &arguments, const std::string &out,
                      const std::string &err ) const {
        const ProgramResult result = check( arguments );
        EXPECT_EQ( 2, result.status );
        EXPECT_EQ( out, result.out );
        EXPECT_EQ( "kavra-smbusd: " + err + "\n", result.err );
    }

    std::string write( const std::string &name, const std::string &text ) const {
        std::ofstream( folder.file( name ) ) << text;
        return folder.file( name );
    }

    Folder folder;
    const std::string socket = folder.file( "s.sock" );
};

TEST_F( CheckConfigTest, BoardIsRead ) {
    expectFine( { "--board", boardFile }, boardFile + ": fine\n" );
    const std::string broken = write( "b.json", "{" );
    const ProgramResult result = check( { "--board", broken } );
    EXPECT_EQ( 2, result.status );
    EXPECT_EQ( "", result.out );
    EXPECT_TRUE( result.err.starts_with( "kavra-smbusd: " + broken + ":1:" ) ) << result.err;
}

TEST_F( CheckConfigTest, MapOfAdaptersIsRead ) {
    const std::string map = write(
        "map.json", R"({ "busses": [ { "master": "I2C", "bus": 1, "device": "/dev/i2c-9" } ] })" );
    expectFine( { "--i2c-dev", map }, map + ": fine\n" );
    const ProgramResult broken = check( { "--i2c-dev", write( "b.json", R"({ "bus": 1 })" ) } );
    EXPECT_EQ( 2, broken.status );
    EXPECT_TRUE( broken.err.starts_with( "kavra-smbusd: " + folder.file( "b.json" ) + ":1:" ) )
        << broken.err;
}

TEST_F( CheckConfigTest, NoMapIsFineToo ) {
    expectFine( { "--i2c-dev" }, "bus N of the master I2C is /dev/i2c-N: fine\n" );
}

TEST_F( CheckConfigTest, FaultScriptIsRead ) {
    const std::string script = write( "f", "# one\nfault bus 1 chip 0x48 nack count 2\n" );
    expectFine( { "--board", boardFile, "--faults", script },
                boardFile + ": fine\n" + script + ": fine\n" );
    write( "f", "\nfault bus 1 frob\n" );
    const ProgramResult broken = check( { "--board", boardFile, "--faults", script } );
    EXPECT_EQ( 2, broken.status );
    EXPECT_EQ( boardFile + ": fine\n", broken.out );
    EXPECT_TRUE( broken.err.starts_with( "kavra-smbusd: " + script + ":2: no fault 'frob'" ) )
        << broken.err;
}

TEST_F( CheckConfigTest, FaultScriptOfTooManyFaultsIsWrong ) {
    std::string lines;
    for ( int i = 0; i < 257; ++i ) {
        lines += "fault server hang-up\n";
    }
    const std::string script = write( "f", lines );
    expectWrong( { "--board", boardFile, "--faults", script }, boardFile + ": fine\n",
                 script + ": more than 256 faults" );
}

TEST_F( CheckConfigTest, RecordingToReplayIsRead ) {
    const std::string empty = write( "r", "kavra-smbusd recording 1\n" );
    expectFine( { "--replay", empty }, empty + ": fine\n" );
    const std::string other = write( "o", "my thesis" );
    expectWrong( { "--replay", other }, "", other + ": no recording" );
    expectWrong( { "--replay", folder.path() }, "",
                 folder.path() + ": cannot be read: Is a directory" );
}

TEST_F( CheckConfigTest, PlaceToRecordIsLookedAtAndNothingIsMade ) {
    const std::string fresh = folder.file( "fresh" );
    expectFine( { "--board", boardFile, "--record", fresh },
                boardFile + ": fine\n" + fresh + ": fine\n" );
    EXPECT_FALSE( fs::exists( fresh ) );
    expectWrong( { "--board", boardFile, "--record", "/nope/x" }, boardFile + ": fine\n",
                 "/nope/x: cannot be written: No such file or directory" );
    expectWrong( { "--board", boardFile, "--record", folder.path() }, boardFile + ": fine\n",
                 folder.path() + ": cannot be written: Is a directory" );
    const std::string other = write( "o", "my thesis" );
    expectWrong( { "--board", boardFile, "--record", other }, boardFile + ": fine\n",
                 other + ": no recording" );
    EXPECT_EQ( "my thesis", fileText( other ) );
}

TEST_F( CheckConfigTest, ReplayedFileIsNotRecordedTo ) {
    const std::string recording = write( "r", "kavra-smbusd recording 1\n" );
    fs::create_hard_link( recording, folder.file( "same" ) );
    const std::string same = folder.file( "same" );
    const std::string problem = ": a recording that is replayed cannot be the one that is written";
    expectWrong( { "--replay", recording, "--record", same }, recording + ": fine\n",
                 same + problem );
    const ProgramResult served =
        runProgram( { program, "--replay", recording, "--record", recording, "--socket", socket } );
    EXPECT_EQ( 2, served.status );
    EXPECT_EQ( "kavra-smbusd: " + recording + problem + "\n", served.err );
    EXPECT_EQ( "kavra-smbusd recording 1\n", fileText( recording ) );
}
