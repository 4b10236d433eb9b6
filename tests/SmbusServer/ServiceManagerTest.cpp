// What systemd sees of the server.
#include "tests/SmbusServer/RawClient.h"
#include "tests/SmbusServer/Service.h"
#include "tests/support/RunProgram.h"
#include "tests/support/ServerProcess.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <fcntl.h>
#include <filesystem>
#include <gtest/gtest.h>
#include <string>
#include <sys/prctl.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>
#include <utility>
#include <vector>

namespace fs = std::filesystem;
using namespace Service;

/// Plays systemd at the other end of $NOTIFY_SOCKET.
class NotifyTest : public testing::Test {
  protected:
    NotifyTest() {
        setenv( "NOTIFY_SOCKET", folder_.file( "notify" ).c_str(), 1 );
        setenv( "WATCHDOG_USEC", "200000", 1 );
    }
    ~NotifyTest() override {
        close( fd_ );
        unsetenv( "NOTIFY_SOCKET" );
        unsetenv( "WATCHDOG_USEC" );
    }

    std::string message() const {
        std::array<char, 256> buffer;
        ssize_t count = -1;
        do {
            count = recv( fd_, buffer.data(), buffer.size(), 0 );
        } while ( count < 0 && errno == EINTR ); // stopped and continued
        return std::string( buffer.data(), static_cast<size_t>( std::max( count, ssize_t{ 0 } ) ) );
    }

    std::string messageBut( const std::string &ignored ) const {
        std::string text = message();
        while ( text == ignored ) {
            text = message();
        }
        return text;
    }

  private:
    Folder folder_;
    int fd_ = listenAt( folder_.file( "notify" ), SOCK_DGRAM );
};

TEST_F( NotifyTest, TellsItsStates ) {
    ServerProcess server;
    EXPECT_EQ( "READY=1", messageBut( "WATCHDOG=1" ) );
    server.signal( SIGHUP );
    EXPECT_EQ( "RELOADING=1", messageBut( "WATCHDOG=1" ) );
    EXPECT_EQ( "READY=1", messageBut( "WATCHDOG=1" ) );
    server.stop();
    EXPECT_EQ( "STOPPING=1", messageBut( "WATCHDOG=1" ) );
}

TEST_F( NotifyTest, AnswersTheWatchdogAgainAndAgain ) {
    const ServerProcess server;
    EXPECT_EQ( "WATCHDOG=1", messageBut( "READY=1" ) );
    EXPECT_EQ( "WATCHDOG=1", messageBut( "READY=1" ) );
}

/// A server that is started with sockets in hand.
class ActivationTest : public testing::Test {
  protected:
    static constexpr int firstHandedOver = 3;

    ~ActivationTest() override {
        if ( pid_ > 0 ) {
            stop();
        }
        for ( const int each : sockets_ ) {
            close( each );
        }
    }

    /// @param unit what systemd calls the socket.
    void hand( const std::string &file, const std::string &unit = "kavra-smbusd.socket",
               int type = SOCK_STREAM ) {
        sockets_.push_back( listenAt( path( file ), type ) );
        names_ += ( names_.empty() ? "" : ":" ) + unit;
    }

    void start( const std::string &group = {} ) {
        const std::string control = folder_.file( "own-control" );
        pid_ = fork();
        if ( pid_ == 0 ) {
            prctl( PR_SET_PDEATHSIG, SIGKILL );
            takePlaces();
            setenv( "LISTEN_PID", std::to_string( getpid() ).c_str(), 1 );
            setenv( "LISTEN_FDS", std::to_string( sockets_.size() ).c_str(), 1 );
            setenv( "LISTEN_FDNAMES", names_.c_str(), 1 );
            execl( program.c_str(), program.c_str(), "--board", boardFile.c_str(), "--control",
                   control.c_str(), group.empty() ? nullptr : "--group", group.c_str(), nullptr );
            _exit( 127 );
        }
    }

    int stop() {
        kill( pid_, SIGTERM );
        return wait();
    }

    int wait() {
        int status = 0;
        waitpid( std::exchange( pid_, -1 ), &status, 0 );
        return WEXITSTATUS( status );
    }

    /// Starts the server, whose clients' socket is smbusd.sock.
    void expectControlAt( const std::string &file ) {
        RawClient control( path( file ) );
        control.send( "set inlet.temperature 30\n" );
        start();
        EXPECT_EQ( "ok\n", control.receiveLine() );
        RawClient client( path( "smbusd.sock" ) );
        EXPECT_EQ( "\x1e", client.ask( inletReads( 1, 1 ) )->response( 0 ).data() );
        EXPECT_FALSE( madeItsOwnControlSocket() );
    }

    std::string path( const std::string &name ) const { return folder_.file( name ); }
    bool madeItsOwnControlSocket() const { return fs::exists( folder_.file( "own-control" ) ); }
    pid_t pid() const { return pid_; }

  private:
    // First out of the way of the places, in case a socket has another one's.
    void takePlaces() {
        constexpr int outOfTheWay = 100;
        for ( int &each : sockets_ ) {
            each = fcntl( each, F_DUPFD, outOfTheWay );
        }
        for ( size_t i = 0; i < sockets_.size(); ++i ) {
            dup2( sockets_[i], firstHandedOver + static_cast<int>( i ) );
            close( sockets_[i] );
        }
    }

    Folder folder_;
    std::vector<int> sockets_;
    std::string names_;
    pid_t pid_ = -1;
};

TEST_F( ActivationTest, SocketThatIsNoStreamIsRefused ) {
    hand( "smbusd.sock", "kavra-smbusd.socket", SOCK_DGRAM );
    start();
    EXPECT_EQ( 3, wait() );
}

TEST_F( ActivationTest, ServesTheSocketThatItWasHandedAndLeavesItsFile ) {
    hand( "smbusd.sock" );
    RawClient early( path( "smbusd.sock" ) ); // before there is a server
    early.send( inletReads( 1, 2 ) );
    start();
    EXPECT_EQ( "\x18\x80", early.answer()->response( 0 ).data() );
    EXPECT_TRUE( madeItsOwnControlSocket() );
    EXPECT_EQ( 0, stop() );
    EXPECT_TRUE( fs::exists( path( "smbusd.sock" ) ) );
    start();
    RawClient late( path( "smbusd.sock" ) );
    EXPECT_EQ( 1, late.ask( inletReads( 1, 2 ) )->response_size() );
}

TEST_F( ActivationTest, SocketNamedControlDrivesTheWorldWhereverItStands ) {
    hand( "c", "control" );
    hand( "smbusd.sock" );
    expectControlAt( "c" );
    EXPECT_EQ( 0, stop() );
    EXPECT_TRUE( fs::exists( path( "c" ) ) );
}

TEST_F( ActivationTest, SecondSocketOfOneUnitIsKnownByItsPath ) {
    hand( "smbusd.sock" );
    hand( "smbusd.sock.ctl" );
    expectControlAt( "smbusd.sock.ctl" );
}

TEST_F( ActivationTest, HandedSocketsAreNotInheritedByAProgramThatItWouldStart ) {
    hand( "smbusd.sock" );
    hand( "smbusd.sock.ctl" );
    start();
    RawClient( path( "smbusd.sock" ) ).ask( inletReads( 1, 1 ) );
    EXPECT_TRUE( closesOnExec( pid(), firstHandedOver ) );
    EXPECT_TRUE( closesOnExec( pid(), firstHandedOver + 1 ) );
}

TEST_F( ActivationTest, HandedSocketsKeepTheGroupThatTheUnitGaveThem ) {
    hand( "smbusd.sock" );
    hand( "smbusd.sock.ctl" );
    struct stat before = {};
    ASSERT_EQ( 0, stat( path( "smbusd.sock" ).c_str(), &before ) );
    start( before.st_gid == 0 ? "daemon" : "root" );
    RawClient client( path( "smbusd.sock" ) );
    client.ask( inletReads( 1, 1 ) );
    struct stat after = {};
    ASSERT_EQ( 0, stat( path( "smbusd.sock" ).c_str(), &after ) );
    EXPECT_EQ( before.st_gid, after.st_gid );
    EXPECT_EQ( 0, stop() );
}

TEST_F( ActivationTest, NumberOfSocketsThatIsNoneIsRefused ) {
    const ProgramResult result =
        runProgram( { "/bin/sh", "-c", "LISTEN_PID=$$ LISTEN_FDS=two exec \"$0\" --board \"$1\"",
                      program, boardFile } );
    EXPECT_EQ( 3, result.status );
    EXPECT_EQ( "kavra-smbusd: sockets handed over by systemd: Invalid argument\n", result.err );
}

TEST_F( ActivationTest, ThirdSocketHasNoUse ) {
    hand( "smbusd.sock" );
    hand( "smbusd.sock.ctl" );
    hand( "more" );
    start();
    EXPECT_EQ( 3, wait() );
}

TEST( ServiceUnitTest, IsSandboxed ) {
    const std::string analyze = "/usr/bin/systemd-analyze";
    if ( !fs::exists( analyze ) ) {
        GTEST_SKIP() << "systemd-analyze is not installed";
    }
    // The threshold is ten times the exposure that the table ends with.
    const ProgramResult result =
        runProgram( { analyze, "security", "--no-pager", "--offline=true", "--threshold=10",
                      SOURCE_DIR "/packaging/kavra-smbusd.service" } );
    EXPECT_EQ( 0, result.status ) << result.out << result.err;
    EXPECT_NE( std::string::npos, result.out.find( "Overall exposure level" ) );
}

/// The unit files, as far as they and the server must agree.
class UnitFilesTest : public testing::Test {
  protected:
    static bool hasLine( const std::string &unit, const std::string &line ) {
        const std::string text = "\n" + fileText( SOURCE_DIR "/packaging/" + unit );
        return text.find( "\n" + line + "\n" ) != std::string::npos;
    }
};

TEST_F( UnitFilesTest, SocketsAreWhereClientsAndCtlLookAtFirst ) {
    // OptionsTest holds the program to these two.
    EXPECT_TRUE( hasLine( "kavra-smbusd.socket", "ListenStream=/run/smbusd.sock" ) );
    EXPECT_TRUE( hasLine( "kavra-smbusd.socket", "ListenStream=/run/smbusd.sock.ctl" ) );
    EXPECT_TRUE( hasLine( "kavra-smbusd.service",
                          "ExecStart=/usr/bin/kavra-smbusd $KAVRA_SMBUSD_OPTIONS" ) );
}

TEST_F( UnitFilesTest, ClientsKeepTheirUsersAndRecordingsHaveAPlace ) {
    EXPECT_FALSE( hasLine( "kavra-smbusd.service", "PrivateUsers=yes" ) );
    EXPECT_TRUE( hasLine( "kavra-smbusd.service", "StateDirectory=kavra-smbusd" ) );
}
