#include "tests/SmbusServer/RawClient.h"
#include "tests/SmbusServer/Service.h"
#include "tests/SmbusServer/TemporaryFile.h"
#include "tests/support/RunProgram.h"
#include "tests/support/ServerProcess.h"

#include <csignal>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>
#include <stdexcept>
#include <string>
#include <sys/socket.h>
#include <sys/stat.h>
#include <system_error>
#include <unistd.h>
#include <vector>

namespace fs = std::filesystem;

using Service::program;
static const std::string &board = Service::boardFile;

class StartStopTest : public testing::Test {
  protected:
    static unsigned mode( const std::string &path ) {
        struct stat found = {};
        stat( path.c_str(), &found );
        return found.st_mode & 0777;
    }

    ServerProcess server;
};

TEST_F( StartStopTest, SocketsAreForOwnerAndGroup ) {
    EXPECT_EQ( 0660u, mode( server.socketPath() ) );
    EXPECT_EQ( 0660u, mode( server.controlPath() ) );
}

TEST_F( StartStopTest, SaysWhereItListens ) {
    EXPECT_EQ( "kavra-smbusd: listening on " + server.socketPath() + "\n", server.log() );
}

TEST_F( StartStopTest, SigtermStopsItAndRemovesTheSockets ) {
    const RawClient connected( server.socketPath() );
    EXPECT_EQ( 0, server.stop() );
    EXPECT_TRUE( fs::is_empty( server.folder() ) );
    EXPECT_TRUE( server.log().ends_with( "kavra-smbusd: stopped\n" ) );
}

TEST_F( StartStopTest, SigintDoesTheSame ) {
    server.signal( SIGINT );
    EXPECT_TRUE( server.waitForLog( "kavra-smbusd: stopped\n" ) );
    EXPECT_EQ( 0, server.stop() );
    EXPECT_TRUE( fs::is_empty( server.folder() ) );
}

TEST_F( StartStopTest, StaleSocketsAreReplaced ) {
    server.kill();
    ASSERT_TRUE( fs::exists( server.socketPath() ) );
    server.start();
    EXPECT_EQ( "1\nok", server.control( "get inlet.present" ) );
}

TEST_F( StartStopTest, RestartForgetsTheWorld ) {
    server.control( "set inlet.temperature 31.5" );
    server.restart();
    EXPECT_EQ( "24.5\nok", server.control( "get inlet.temperature" ) );
}

TEST_F( StartStopTest, LiveServerIsNotReplaced ) {
    const ProgramResult second = runProgram( { program, "--board", board } );
    EXPECT_EQ( 3, second.status );
    EXPECT_EQ( "kavra-smbusd: " + server.socketPath() + ": another server is listening there\n",
               second.err );
    EXPECT_EQ( "1\nok", server.control( "get inlet.present" ) );
}

TEST_F( StartStopTest, LiveControlSocketIsNotReplaced ) {
    const std::string other = server.folder() + "/other.sock";
    const ProgramResult second = runProgram(
        { program, "--board", board, "--socket", other, "--control", server.controlPath() } );
    EXPECT_EQ( 3, second.status );
    EXPECT_FALSE( fs::exists( other ) );
    EXPECT_EQ( "1\nok", server.control( "get inlet.present" ) );
}

TEST_F( StartStopTest, FileThatIsNoSocketIsLeftAlone ) {
    const std::string file = server.folder() + "/notes.txt";
    std::ofstream( file ) << "keep";
    const ProgramResult result = runProgram( { program, "--board", board, "--socket", file } );
    EXPECT_EQ( 3, result.status );
    EXPECT_EQ( "kavra-smbusd: " + file + ": there is a file that is no socket\n", result.err );
    EXPECT_EQ( 4u, fs::file_size( file ) );
}

TEST_F( StartStopTest, SocketThatSomebodyElsePutThereStays ) {
    fs::remove( server.socketPath() );
    std::ofstream( server.socketPath() ) << "somebody else's";
    EXPECT_EQ( 0, server.stop() );
    EXPECT_TRUE( fs::exists( server.socketPath() ) );
}

TEST( DescriptorsTest, NoneIsInheritedByAProgramThatItWouldStart ) {
    const TemporaryFile recording;
    ServerProcess server( {}, { "--record", recording.path() } );
    const RawClient connected( server.socketPath() );
    RawClient control( server.controlPath() );
    control.send( "list\n" );
    control.receiveLine(); // both clients have been accepted
    int recordings = 0;
    int sockets = 0;
    const fs::path descriptors = "/proc/" + std::to_string( server.pid() ) + "/fd";
    for ( const auto &entry : fs::directory_iterator( descriptors ) ) {
        const fs::path fd = entry.path().filename();
        const std::string file = fs::read_symlink( entry );
        std::error_code none;
        if ( file == fs::read_symlink( "/proc/self/fd" / fd, none ) || fd == "2" ) {
            continue; // ours, or from whoever started this test
        }
        EXPECT_TRUE( Service::closesOnExec( server.pid(), std::stoi( fd ) ) ) << file;
        recordings += file == recording.path() ? 1 : 0;
        sockets += file.starts_with( "socket:" ) ? 1 : 0;
    }
    EXPECT_EQ( 1, recordings );
    EXPECT_EQ( 4, sockets ); // two that listen, two of clients
}

/// Calls that end at once.
class CallTest : public testing::Test {
  protected:
    static ProgramResult call( const std::vector<std::string> &arguments ) {
        std::vector<std::string> command = { program };
        command.insert( command.end(), arguments.begin(), arguments.end() );
        return runProgram( command );
    }
};

TEST_F( CallTest, HelpAndVersionGoToStdout ) {
    EXPECT_TRUE( call( { "--help" } ).out.starts_with( "Usage: kavra-smbusd " ) );
    EXPECT_EQ( 0, call( { "--help" } ).status );
    EXPECT_EQ( "kavra-smbusd 1.0.0\n", call( { "--version" } ).out );
}

TEST_F( CallTest, WrongCallExitsWith2 ) {
    const ProgramResult result = call( { "--bord", "x" } );
    EXPECT_EQ( 2, result.status );
    EXPECT_EQ( "kavra-smbusd: unknown option '--bord'; 'kavra-smbusd --help' tells more\n",
               result.err );
    EXPECT_EQ( 2, call( {} ).status );
    EXPECT_EQ( 2, call( { "ctl" } ).status );
}

TEST_F( CallTest, WrongDocumentExitsWith2 ) {
    const std::string document = TEST_DATA_DIR "/emulation/fail/unknown_type.json";
    const ProgramResult result = call( { "--board", document } );
    EXPECT_EQ( 2, result.status );
    EXPECT_TRUE( result.err.starts_with( "kavra-smbusd: " + document +
                                         ":4:36: unknown chip type 'LM76'; known are LM75, " ) )
        << result.err;
    EXPECT_EQ( 2, call( { "--board", "/dev/null/b.json" } ).status );
}

TEST_F( CallTest, SocketThatCannotBeHadExitsWith3 ) {
    const ProgramResult missing = call( { "--board", board, "--socket", "/dev/null/smbusd.sock" } );
    EXPECT_EQ( 3, missing.status );
    EXPECT_EQ( "kavra-smbusd: /dev/null/smbusd.sock: Not a directory\n", missing.err );
    const std::string longPath = "/tmp/" + std::string( 110, 'x' );
    const ProgramResult tooLong = call( { "--board", board, "--socket", longPath } );
    EXPECT_EQ( 3, tooLong.status );
    EXPECT_EQ( "kavra-smbusd: " + longPath + ": File name too long\n", tooLong.err );
}

TEST_F( CallTest, SocketOfAnotherKindIsLeftAlone ) {
    const Service::Folder folder;
    const std::string path = folder.file( "datagrams" );
    const int other = Service::listenAt( path, SOCK_DGRAM );
    const ProgramResult result = call( { "--board", board, "--socket", path } );
    EXPECT_EQ( 3, result.status );
    EXPECT_EQ( "kavra-smbusd: " + path + ": Protocol wrong type for socket\n", result.err );
    EXPECT_TRUE( fs::is_socket( path ) );
    close( other );
}

TEST_F( CallTest, StaleSocketOfAnotherUserInASharedFolderIsNotHad ) {
    constexpr uid_t other = 65534;
    if ( geteuid() != 0 ) {
        GTEST_SKIP() << "only root can leave another user's socket";
    }
    const Service::Folder folder;
    const std::string path = folder.file( "stale" );
    close( Service::listenAt( path, SOCK_STREAM ) );
    ASSERT_EQ( 0, chown( path.c_str(), other, other ) );
    ASSERT_EQ( 0, chown( folder.path().c_str(), other, other ) );
    ASSERT_EQ( 0, chmod( folder.path().c_str(), 01777 ) );
    const ProgramResult result =
        runProgram( { "/usr/bin/setpriv", "--inh-caps=-fowner", "--bounding-set=-fowner", program,
                      "--board", board, "--socket", path } );
    EXPECT_EQ( 3, result.status );
    EXPECT_EQ( "kavra-smbusd: " + path +
                   ": a stale socket cannot be removed: Operation not permitted\n",
               result.err );
    EXPECT_TRUE( fs::is_socket( path ) );
}

TEST( ServerProcessTest, PutsTheEnvironmentBackAndRemovesItsFolder ) {
    setenv( "SMBUSD_SOCKET", "/before", 1 );
    std::string folder;
    {
        const ServerProcess server;
        folder = server.folder();
        EXPECT_EQ( server.socketPath(), getenv( "SMBUSD_SOCKET" ) );
    }
    EXPECT_STREQ( "/before", getenv( "SMBUSD_SOCKET" ) );
    EXPECT_FALSE( fs::exists( folder ) );
}

TEST( ServerProcessTest, TellsWhyTheServerDoesNotComeUp ) {
    try {
        const ServerProcess server( "/dev/null/b.json" );
        FAIL();
    } catch ( const std::runtime_error &error ) {
        EXPECT_NE( nullptr, strstr( error.what(), "/dev/null/b.json: cannot be read" ) );
    }
}
