#include "tests/SmbusServer/RawClient.h"
#include "tests/SmbusServer/Service.h"
#include "tests/support/RunProgram.h"
#include "tests/support/ServerProcess.h"

#include <algorithm>
#include <array>
#include <csignal>
#include <fcntl.h>
#include <filesystem>
#include <gtest/gtest.h>
#include <poll.h>
#include <string>
#include <sys/file.h>
#include <sys/inotify.h>
#include <sys/prctl.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>
#include <vector>

namespace fs = std::filesystem;
using namespace Service;

/// Another server that is about to look at the socket: it has the lock.
class StartLockTest : public testing::Test {
  protected:
    StartLockTest() {
        close( listenAt( path, SOCK_STREAM ) ); // and there is a stale socket
        EXPECT_EQ( 0, flock( lock, LOCK_EX | LOCK_NB ) );
        inotify_add_watch( attempts, lockFile.c_str(), IN_OPEN );
    }
    ~StartLockTest() override {
        close( attempts );
        close( lock );
    }

    /// Returns when somebody has tried to get the lock so many times.
    void waitForAttempts( size_t count ) const {
        std::array<char, 4096> events;
        for ( size_t seen = 0; seen < count; ) {
            pollfd event = { attempts, POLLIN, 0 };
            ASSERT_EQ( 1, poll( &event, 1, 20'000 ) );
            const ssize_t size = read( attempts, events.data(), events.size() );
            ASSERT_GT( size, 0 );
            seen += static_cast<size_t>( size ) / sizeof( inotify_event );
        }
    }

    const Folder folder;
    const std::string path = folder.file( "s.sock" );
    const std::string lockFile = path + ".lock";
    const std::vector<std::string> command = { program, "--board", boardFile, "--socket", path };
    const int lock = open( lockFile.c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0600 );
    const int attempts = inotify_init1( IN_CLOEXEC );
};

TEST_F( StartLockTest, ServerThatFindsTheLockTakenWaitsForIt ) {
    std::thread release( [&] {
        waitForAttempts( 3 );
        fs::remove( lockFile ); // as its owner does when it has the socket
        flock( lock, LOCK_UN );
    } );
    ServerProcess server( {}, { "--socket", path } );
    release.join();
    RawClient client( path );
    EXPECT_TRUE( client.ask( inletReads( 1, 1 ) ) );
    EXPECT_EQ( 0, server.stop() );
}

TEST_F( StartLockTest, ServerDoesNotWaitForEver ) {
    const ProgramResult result = runProgram( command );
    EXPECT_EQ( 3, result.status );
    EXPECT_EQ( "kavra-smbusd: " + path + ": another server has been starting for too long\n",
               result.err );
    EXPECT_TRUE( fs::exists( path ) );
}

// Two that look at a stale socket at one instant: one of them serves, the other says why not.
TEST( StartRaceTest, OneOfTwoServersGetsAStaleSocket ) {
    for ( int round = 0; round < 20; ++round ) {
        const Folder folder;
        const std::string path = folder.file( "s.sock" );
        close( listenAt( path, SOCK_STREAM ) );
        std::array<int, 2> log;
        ASSERT_EQ( 0, pipe( log.data() ) );
        std::array<pid_t, 2> servers;
        for ( pid_t &each : servers ) {
            each = fork();
            if ( each == 0 ) {
                prctl( PR_SET_PDEATHSIG, SIGKILL );
                dup2( log[1], STDERR_FILENO );
                execl( program.c_str(), program.c_str(), "--board", boardFile.c_str(), "--socket",
                       path.c_str(), nullptr );
                _exit( 127 );
            }
        }
        close( log[1] );
        std::string text;
        std::array<char, 512> buffer;
        while ( std::count( text.begin(), text.end(), '\n' ) < 2 ) {
            const ssize_t count = read( log[0], buffer.data(), buffer.size() );
            ASSERT_GT( count, 0 );
            text.append( buffer.data(), static_cast<size_t>( count ) );
        }
        EXPECT_NE( std::string::npos, text.find( "listening on " + path + "\n" ) ) << text;
        EXPECT_NE( std::string::npos, text.find( path + ": another server is listening there\n" ) )
            << text;
        RawClient client( path );
        EXPECT_TRUE( client.ask( inletReads( 1, 1 ) ) );
        for ( const pid_t each : servers ) {
            kill( each, SIGTERM );
            waitpid( each, nullptr, 0 );
        }
        close( log[0] );
        EXPECT_FALSE( fs::exists( path ) || fs::exists( path + ".lock" ) );
    }
}
