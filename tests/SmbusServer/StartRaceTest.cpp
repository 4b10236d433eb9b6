#include "tests/SmbusServer/RawClient.h"
#include "tests/SmbusServer/Service.h"

#include <algorithm>
#include <array>
#include <csignal>
#include <filesystem>
#include <gtest/gtest.h>
#include <string>
#include <sys/prctl.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

namespace fs = std::filesystem;
using namespace Service;

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
