/// The server that kavractl explain starts goes when kavractl goes, however that ends.
#include "tests/HostTool/Kavractl.h"

#include <gmock/gmock.h>

#include <fcntl.h>
#include <sys/prctl.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <filesystem>
#include <fstream>

using testing::HasSubstr;

namespace fs = std::filesystem;

/// A kavractl beside a server of the test's own.
class PrivateServerTest : public KavractlTest {
  protected:
    PrivateServerTest() {
        environment["KAVRA_BOARD"] = SOURCE_DIR "/boards/VundaT";
        environment["KAVRA_LIBRARY"] = BINARY_DIR "/lib/libKavraDriversVundaT.so.1";
        environment["TMPDIR"] = folder.file( "tmp" );
        fs::create_directory( folder.file( "tmp" ) );
        fs::copy( BINARY_DIR "/bin/kavractl", program );
    }

    void server( const std::string &script ) {
        std::ofstream( folder.file( "kavra-smbusd" ) ) << "#!/bin/sh\n" << script;
        fs::permissions( folder.file( "kavra-smbusd" ), fs::perms::owner_all );
    }

    ProgramResult explain() const {
        std::vector<std::string> assignments;
        for ( const auto &[name, value] : environment ) {
            assignments.push_back( name + "=" + value );
        }
        return runProgram( { program, "explain", "inlet" }, assignments );
    }

    const std::string program = folder.file( "kavractl" );
};

TEST_F( PrivateServerTest, ServerThatCannotBeHadIsNamed ) {
    environment["PATH"] = "/nowhere";
    const ProgramResult result = explain();
    EXPECT_EQ( 3, result.status );
    EXPECT_EQ( "kavractl: kavra-smbusd is needed and is neither beside this program (" +
                   folder.file( "kavra-smbusd" ) + ") nor in $PATH\n",
               result.err );
}

TEST_F( PrivateServerTest, ServerIsFoundInThePathToo ) {
    environment["PATH"] = BINARY_DIR "/bin";
    const ProgramResult result = explain();
    EXPECT_EQ( 0, result.status ) << result.err;
    EXPECT_THAT( result.out, HasSubstr( "2 bytes -> 18 80\n" ) );
}

TEST_F( PrivateServerTest, ServerThatDoesNotComeUpIsToldInItsWords ) {
    server( "echo 'kavra-smbusd: no room' >&2; exit 1\n" );
    const ProgramResult result = explain();
    EXPECT_EQ( 3, result.status );
    EXPECT_EQ( "kavractl: " + folder.file( "kavra-smbusd" ) + " does not come up: no room\n",
               result.err );
    EXPECT_TRUE( fs::is_empty( folder.file( "tmp" ) ) );
}

/// A server that never comes up: it opens a pipe for writing, says so there, and stays.
class EndingTest : public PrivateServerTest, public testing::WithParamInterface<int> {
  protected:
    EndingTest() {
        const std::string pipe = folder.file( "pipe" );
        mkfifo( pipe.c_str(), 0600 );
        fd_ = open( pipe.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC );
        writer_ = open( pipe.c_str(), O_WRONLY | O_CLOEXEC ); // no end before the server has begun
        fcntl( fd_, F_SETFL, 0 );
        server( "exec 3>'" + pipe + "'\necho up >&3\nexec sleep 1000\n" );
    }
    ~EndingTest() override { close( fd_ ); }

    pid_t start() {
        const pid_t parent = getpid();
        const pid_t pid = fork();
        if ( pid == 0 ) {
            prctl( PR_SET_PDEATHSIG, SIGKILL );
            for ( const auto &[name, value] : environment ) {
                setenv( name.c_str(), value.c_str(), 1 );
            }
            if ( getppid() == parent ) {
                execl( program.c_str(), program.c_str(), "explain", "inlet", nullptr );
            }
            _exit( 127 );
        }
        return pid;
    }

    void waitForServer() {
        char byte = 0;
        while ( byte != '\n' && read( fd_, &byte, 1 ) == 1 ) {
        }
        close( writer_ );
    }

    /// Returns when nobody can write to the pipe any more.
    void waitForServersEnd() const {
        char byte = 0;
        while ( read( fd_, &byte, 1 ) > 0 ) {
        }
    }

  private:
    int fd_;
    int writer_;
};

TEST_P( EndingTest, ServerEndsWithTheProgram ) {
    const pid_t pid = start();
    waitForServer();
    kill( pid, GetParam() );
    waitForServersEnd();
    int status = 0;
    ASSERT_EQ( pid, waitpid( pid, &status, 0 ) );
    ASSERT_TRUE( WIFSIGNALED( status ) );
    EXPECT_EQ( GetParam(), WTERMSIG( status ) );
    if ( GetParam() != SIGKILL ) {
        EXPECT_TRUE( fs::is_empty( folder.file( "tmp" ) ) );
    }
}

INSTANTIATE_TEST_SUITE_P( Signals, EndingTest,
                          testing::Values( SIGINT, SIGTERM, SIGHUP, SIGQUIT, SIGPIPE, SIGKILL ) );
