// The server as a service: what systemd and an administrator see of it.
#include "tests/SmbusServer/RawClient.h"
#include "tests/support/Requests.h"
#include "tests/support/RunProgram.h"
#include "tests/support/ServerProcess.h"

#include <algorithm>
#include <array>
#include <csignal>
#include <cstdlib>
#include <fcntl.h>
#include <filesystem>
#include <fstream>
#include <grp.h>
#include <gtest/gtest.h>
#include <optional>
#include <sstream>
#include <stdexcept>
#include <string>
#include <sys/prctl.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <sys/wait.h>
#include <unistd.h>
#include <utility>
#include <vector>

namespace fs = std::filesystem;
using namespace Requests;

static const std::string program = BINARY_DIR "/bin/kavra-smbusd";
static const std::string boardFile = SOURCE_DIR "/boards/VundaT/emulation.json";

static std::string fileText( const std::string &path ) {
    std::ifstream file( path );
    std::stringstream text;
    text << file.rdbuf();
    return text.str();
}

static Smbus::TransactionRequest inletReads( int count, unsigned length ) {
    Smbus::TransactionRequest request;
    for ( int i = 0; i < count; ++i ) {
        Smbus::Request one = readBytes( 0x48, 0, length );
        one.set_mastertype( Smbus::SCD );
        one.set_pci( 768 );
        *request.add_request() = one;
    }
    return request;
}

/// A batch that fails: nobody has this address.
static Smbus::TransactionRequest nobodyRead() {
    Smbus::Request one = readBytes( 0x4f, 0, 2 );
    one.set_mastertype( Smbus::SCD );
    one.set_pci( 768 );
    return batch( { one } );
}

static int listenAt( const std::string &path, int type ) {
    const int fd = socket( AF_UNIX, type | SOCK_CLOEXEC, 0 );
    sockaddr_un address = {};
    address.sun_family = AF_UNIX;
    path.copy( address.sun_path, sizeof address.sun_path - 1 );
    EXPECT_EQ( 0, bind( fd, reinterpret_cast<const sockaddr *>( &address ), sizeof address ) );
    if ( type == SOCK_STREAM ) {
        EXPECT_EQ( 0, listen( fd, SOMAXCONN ) );
    }
    const timeval limit = { 20, 0 };
    setsockopt( fd, SOL_SOCKET, SO_RCVTIMEO, &limit, sizeof limit );
    return fd;
}

/// A folder that goes with the object.
class Folder {
  public:
    Folder() {
        if ( mkdtemp( path_.data() ) == nullptr ) {
            throw std::runtime_error( "no private folder" );
        }
    }
    Folder( const Folder & ) = delete;
    Folder &operator=( const Folder & ) = delete;
    ~Folder() { fs::remove_all( path_ ); }
    std::string file( const std::string &name ) const { return path_ + "/" + name; }

  private:
    std::string path_ = fs::temp_directory_path() / "service-XXXXXX";
};

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
        const ssize_t count = recv( fd_, buffer.data(), buffer.size(), 0 );
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

/// A server that is started with a socket in hand.
class ActivationTest : public testing::Test {
  protected:
    ~ActivationTest() override {
        if ( pid_ > 0 ) {
            kill( pid_, SIGTERM );
            waitpid( pid_, nullptr, 0 );
        }
        close( fd_ );
    }

    void start() {
        const std::string control = folder_.file( "control" );
        pid_ = fork();
        if ( pid_ == 0 ) {
            prctl( PR_SET_PDEATHSIG, SIGKILL );
            constexpr int firstHandedOver = 3;
            dup2( fd_, firstHandedOver );
            fcntl( firstHandedOver, F_SETFD, 0 );
            setenv( "LISTEN_PID", std::to_string( getpid() ).c_str(), 1 );
            setenv( "LISTEN_FDS", "1", 1 );
            execl( program.c_str(), program.c_str(), "--board", boardFile.c_str(), "--control",
                   control.c_str(), nullptr );
            _exit( 127 );
        }
    }

    int stop() {
        int status = 0;
        kill( pid_, SIGTERM );
        waitpid( std::exchange( pid_, -1 ), &status, 0 );
        return WEXITSTATUS( status );
    }

    std::string path() const { return folder_.file( "handed.sock" ); }

  private:
    Folder folder_;
    int fd_ = listenAt( folder_.file( "handed.sock" ), SOCK_STREAM );
    pid_t pid_ = -1;
};

TEST_F( ActivationTest, ServesTheSocketThatItWasHandedAndLeavesItsFile ) {
    RawClient early( path() ); // before there is a server
    early.send( inletReads( 1, 2 ) );
    start();
    EXPECT_EQ( "\x18\x80", early.answer()->response( 0 ).data() );
    EXPECT_EQ( 0, stop() );
    EXPECT_TRUE( fs::exists( path() ) );
    start();
    RawClient late( path() );
    EXPECT_EQ( 1, late.ask( inletReads( 1, 2 ) )->response_size() );
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

class ReloadTest : public testing::Test {
  protected:
    static std::string inlet( ServerProcess &server ) {
        return server.control( "get inlet.temperature" );
    }

    /// The board's document with this in place of the inlet's temperature.
    void write( const std::string &temperature ) const {
        std::string text = fileText( boardFile );
        text.replace( text.find( "24.5" ), 4, temperature );
        std::ofstream( file ) << text;
    }

    Folder folder;
    std::string file = folder.file( "board.json" );
};

TEST_F( ReloadTest, NewDocumentIsServed ) {
    write( "30.5" );
    ServerProcess server( file );
    RawClient client( server.socketPath() );
    EXPECT_EQ( "\x1e\x80", client.ask( inletReads( 1, 2 ) )->response( 0 ).data() );
    write( "31.5" );
    server.signal( SIGHUP );
    EXPECT_TRUE( server.waitForLog( "the documents were read again" ) );
    EXPECT_EQ( "\x1f\x80", client.ask( inletReads( 1, 2 ) )->response( 0 ).data() );
    EXPECT_EQ( "31.5\nok", inlet( server ) );
}

TEST_F( ReloadTest, BrokenDocumentIsReportedAndTheOldOneStays ) {
    write( "30.5" );
    ServerProcess server( file );
    RawClient client( server.socketPath() );
    server.control( "set inlet.temperature 40" );
    write( "\"warm\"" );
    server.signal( SIGHUP );
    EXPECT_TRUE( server.waitForLog( "; what was read before stays" ) );
    EXPECT_NE( std::string::npos, server.log().find( file + ":" ) );
    EXPECT_EQ( "\x28", client.ask( inletReads( 1, 1 ) )->response( 0 ).data() );
}

TEST_F( ReloadTest, CheckConfigServesNothing ) {
    write( "30.5" );
    const std::string socket = folder.file( "s.sock" );
    const ProgramResult fine =
        runProgram( { program, "--check-config", "--board", file, "--socket", socket } );
    EXPECT_EQ( 0, fine.status );
    EXPECT_EQ( file + ": fine\n", fine.out );
    EXPECT_FALSE( fs::exists( socket ) );
    write( "\"warm\"" );
    const ProgramResult broken = runProgram( { program, "--check-config", "--board", file } );
    EXPECT_EQ( 2, broken.status );
    EXPECT_TRUE( broken.err.starts_with( "kavra-smbusd: " + file + ":" ) ) << broken.err;
}

class StopTest : public testing::Test {
  protected:
    ServerProcess server;
    RawClient client{ server.socketPath() };
};

TEST_F( StopTest, AnswerThatIsStillToBeTakenIsSent ) {
    client.send( inletReads( 120, 8192 ) );
    RawClient other( server.socketPath() );
    other.ask( inletReads( 1, 1 ) ); // the batch before has been performed
    server.signal( SIGTERM );
    EXPECT_TRUE( other.hungUp() );
    const auto answer = client.answer();
    ASSERT_TRUE( answer );
    EXPECT_EQ( 120, answer->response_size() );
    EXPECT_TRUE( client.hungUp() );
    EXPECT_EQ( 0, server.stop() );
}

TEST_F( StopTest, NobodyConnectsWhileItStops ) {
    client.send( inletReads( 120, 8192 ) );
    RawClient other( server.socketPath() );
    other.ask( inletReads( 1, 1 ) );
    server.signal( SIGTERM );
    EXPECT_TRUE( other.hungUp() );
    EXPECT_THROW( RawClient( server.socketPath() ), std::runtime_error );
    client.answer();
    EXPECT_EQ( 0, server.stop() );
}

TEST_F( StopTest, SecondSignalDoesNotWait ) {
    client.send( inletReads( 120, 8192 ) );
    RawClient other( server.socketPath() );
    other.ask( inletReads( 1, 1 ) );
    server.signal( SIGTERM );
    EXPECT_TRUE( other.hungUp() );
    EXPECT_EQ( 0, server.stop() );
}

class LogTest : public StopTest {};

TEST_F( LogTest, FailureIsLoggedWithClientBusChipAndCause ) {
    client.ask( nobodyRead() );
    EXPECT_TRUE( server.waitForLog(
        "(pid " + std::to_string( getpid() ) + ", uid " + std::to_string( getuid() ) +
        "): accelerator 0 bus 0 chip 0x4f reg 0x00: no acknowledge\n" ) );
}

TEST_F( LogTest, ManyFailuresDoNotFloodIt ) {
    for ( int i = 0; i < 1000; ++i ) {
        client.ask( nobodyRead() );
    }
    server.stop();
    size_t lines = 0;
    std::istringstream log( server.log() );
    for ( std::string line; std::getline( log, line ); ) {
        lines += line.ends_with( "no acknowledge" ) ? 1U : 0U;
    }
    EXPECT_GE( lines, 20u );
    EXPECT_LT( lines, 100u );
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

/// Connects as somebody else; only root can.
class GroupTest : public testing::Test {
  protected:
    static constexpr uid_t nobody = 65534;
    static constexpr gid_t stranger = 65533;

    void SetUp() override {
        if ( geteuid() != 0 ) {
            GTEST_SKIP() << "only root can play other users";
        }
        wanted_ = getgrnam( "daemon" );
        if ( wanted_ == nullptr ) {
            GTEST_SKIP() << "there is no group daemon";
        }
        server_.emplace( std::string(), std::vector<std::string>{ "--group", "daemon" } );
        // The file modes are not what is tested.
        fs::permissions( server_->folder(), fs::perms::all );
        fs::permissions( server_->socketPath(), fs::perms::all );
    }

    /// Whether somebody of this group, with this further one, is served.
    bool isServed( gid_t group, gid_t further ) const {
        const pid_t child = fork();
        if ( child == 0 ) {
            bool served =
                setgroups( 1, &further ) == 0 && setgid( group ) == 0 && setuid( nobody ) == 0;
            if ( served ) {
                RawClient client( server_->socketPath() );
                served = client.ask( inletReads( 1, 1 ) ).has_value();
            }
            _exit( served ? 0 : 1 );
        }
        int status = 0;
        waitpid( child, &status, 0 );
        return status == 0;
    }

    gid_t wanted() const { return wanted_->gr_gid; }
    ServerProcess &server() { return *server_; }

  private:
    const group *wanted_ = nullptr;
    std::optional<ServerProcess> server_;
};

TEST_F( GroupTest, MembersAreServedOthersTurnedAway ) {
    EXPECT_TRUE( isServed( wanted(), stranger ) );
    EXPECT_TRUE( isServed( stranger, wanted() ) );
    EXPECT_FALSE( isServed( stranger, stranger ) );
    EXPECT_TRUE( server().waitForLog( "uid 65534) is turned away: not in the group" ) );
}

TEST_F( GroupTest, RootIsServedAndTheFilesAreTheGroups ) {
    RawClient client( server().socketPath() );
    EXPECT_TRUE( client.ask( inletReads( 1, 1 ) ) );
    for ( const std::string &path : { server().socketPath(), server().controlPath() } ) {
        struct stat found = {};
        stat( path.c_str(), &found );
        EXPECT_EQ( wanted(), found.st_gid );
    }
}

TEST( GroupCallTest, UnknownGroupIsAWrongCall ) {
    const ProgramResult result =
        runProgram( { program, "--board", boardFile, "--group", "no-such-group" } );
    EXPECT_EQ( 2, result.status );
    EXPECT_TRUE( result.err.starts_with( "kavra-smbusd: there is no group 'no-such-group';" ) );
}
