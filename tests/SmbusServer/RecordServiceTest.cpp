// Recordings of the real server: on a full disk, with two servers, and what is printed of them.
#include "tests/SmbusServer/RawClient.h"
#include "tests/SmbusServer/Service.h"
#include "tests/support/RunProgram.h"
#include "tests/support/ServerProcess.h"

#include <algorithm>
#include <fstream>
#include <gtest/gtest.h>
#include <sched.h>
#include <string>
#include <sys/mount.h>
#include <sys/resource.h>
#include <vector>

using namespace Service;

class RecordServiceTest : public testing::Test {
  protected:
    std::vector<std::string> recording() const { return { "--record", file }; }

    static ProgramResult print( const std::string &path ) {
        return runProgram( { program, "--print", path } );
    }

    /// The folder becomes one, for this process and those that it starts.
    bool hasSmallDisk() const {
        return unshare( CLONE_NEWNS ) == 0 &&
               mount( "none", "/", nullptr, MS_REC | MS_PRIVATE, nullptr ) == 0 &&
               mount( "none", folder.path().c_str(), "tmpfs", 0, "size=64k" ) == 0;
    }

    /// Makes so many batches, each answered as if nothing were recorded.
    static void askOften( const ServerProcess &server, int count ) {
        RawClient client( server.socketPath() );
        for ( int i = 0; i < count; ++i ) {
            const auto answer = client.ask( inletReads( 1, 2 ) );
            ASSERT_TRUE( answer );
            ASSERT_EQ( "\x18\x80", answer->response( 0 ).data() );
        }
    }

    /// What was recorded before the disk was full is whole, and there is less than was asked.
    void expectWholeEntries( int asked ) const {
        const ProgramResult result = print( file );
        EXPECT_EQ( 0, result.status );
        EXPECT_EQ( "", result.err );
        const auto lines = std::count( result.out.begin(), result.out.end(), '\n' );
        EXPECT_GT( lines, 0 );
        EXPECT_LT( lines, asked );
    }

    Folder folder;
    std::string file = folder.file( "field.rec" );
};

TEST_F( RecordServiceTest, FullDiskIsReportedOnceAndTheServiceGoesOn ) {
    constexpr int asked = 2000;
    if ( !hasSmallDisk() ) {
        GTEST_SKIP() << "a small disk of its own needs root";
    }
    {
        ServerProcess server( {}, recording() );
        askOften( server, asked );
        const std::string stops = file + ": recording stops: No space left on device\n";
        EXPECT_TRUE( server.waitForLog( stops ) );
        server.stop();
        EXPECT_EQ( server.log().find( "recording" ), server.log().rfind( "recording" ) );
    }
    expectWholeEntries( asked );
    umount2( folder.path().c_str(), MNT_DETACH );
}

TEST_F( RecordServiceTest, DiskThatIsFullAlreadyEndsTheStart ) {
    if ( !hasSmallDisk() ) {
        GTEST_SKIP() << "a small disk of its own needs root";
    }
    std::ofstream( folder.file( "full" ) ) << std::string( 100'000, 'x' );
    const ProgramResult result = runProgram( { program, "--board", boardFile, "--record", file } );
    EXPECT_EQ( 2, result.status );
    EXPECT_EQ( "kavra-smbusd: " + file + ": cannot be written: No space left on device\n",
               result.err );
    umount2( folder.path().c_str(), MNT_DETACH );
}

TEST_F( RecordServiceTest, RecordingThatWasCutOffIsPrintedAndReplayedUpToThere ) {
    { const ServerProcess server( {}, recording() ); }
    std::ofstream( file, std::ios::app ) << "\x05"
                                            "abc";
    const std::string told = "kavra-smbusd: " + file + ": cut off in entry 1\n";
    const ProgramResult result = print( file );
    EXPECT_EQ( 0, result.status );
    EXPECT_EQ( "", result.out );
    EXPECT_EQ( told, result.err );
    ServerProcess server( {}, { "--replay", file } );
    EXPECT_TRUE( server.waitForLog( told ) );
}

TEST_F( RecordServiceTest, LimitOfAFileDoesNotEndTheServer ) {
    constexpr int asked = 500;
    rlimit before = {};
    getrlimit( RLIMIT_FSIZE, &before );
    const rlimit small = { 16 * 1024, before.rlim_max };
    setrlimit( RLIMIT_FSIZE, &small );
    ServerProcess server( {}, recording() );
    setrlimit( RLIMIT_FSIZE, &before );
    askOften( server, asked );
    EXPECT_TRUE( server.waitForLog( file + ": recording stops: File too large\n" ) );
    prlimit( server.pid(), RLIMIT_FSIZE, &before,
             nullptr ); // for what a profiler writes at the end
    EXPECT_EQ( 0, server.stop() );
    expectWholeEntries( asked );
}

TEST_F( RecordServiceTest, DeviceIsNoPlaceForARecording ) {
    const ProgramResult result =
        runProgram( { program, "--board", boardFile, "--record", "/dev/full" } );
    EXPECT_EQ( 2, result.status );
    EXPECT_EQ( "kavra-smbusd: /dev/full: cannot be written: not a regular file\n", result.err );
}

TEST_F( RecordServiceTest, SecondServerDoesNotRecordToTheSameFile ) {
    ServerProcess server( {}, recording() );
    const std::vector<std::string> other = { "--socket", folder.file( "other.sock" ), "--record",
                                             file };
    std::vector<std::string> second = { program, "--board", boardFile };
    second.insert( second.end(), other.begin(), other.end() );
    const ProgramResult result = runProgram( second );
    EXPECT_EQ( 2, result.status );
    EXPECT_EQ( "kavra-smbusd: " + file + ": cannot be written: another server records there\n",
               result.err );
    // Looking whether the service could start again is no reason to stop it.
    second.push_back( "--check-config" );
    EXPECT_EQ( 0, runProgram( second ).status );
    askOften( server, 1 );
    EXPECT_EQ( 0, server.stop() );
    EXPECT_NE( std::string::npos, print( file ).out.find( "48[00]x2 -> 1880\n" ) );
}

TEST_F( RecordServiceTest, PrintedAsJsonEachLineSaysWhereItsEntryBegins ) {
    {
        ServerProcess server( {}, recording() );
        askOften( server, 2 );
    }
    const ProgramResult result = runProgram( { program, "--print", file, "--json" } );
    EXPECT_EQ( 0, result.status );
    EXPECT_EQ( 2, std::count( result.out.begin(), result.out.end(), '\n' ) );
    EXPECT_TRUE( result.out.starts_with( "{\"offset\":25," ) ) << result.out;
    EXPECT_NE( std::string::npos, result.out.find( "\"read\":\"1880\"" ) );
}

TEST_F( RecordServiceTest, PrintTellsWhatIsNoRecording ) {
    const ProgramResult ofFolder = print( folder.path() );
    EXPECT_EQ( 2, ofFolder.status );
    EXPECT_EQ( "kavra-smbusd: " + folder.path() + ": cannot be read: Is a directory\n",
               ofFolder.err );
    const ProgramResult ofNothing = print( file );
    EXPECT_EQ( 2, ofNothing.status );
    EXPECT_EQ( "kavra-smbusd: " + file + ": cannot be read: No such file or directory\n",
               ofNothing.err );
    EXPECT_EQ( "kavra-smbusd: " + boardFile + ": no recording\n", print( boardFile ).err );
}
