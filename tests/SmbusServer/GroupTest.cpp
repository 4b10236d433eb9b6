// Who may connect.
#include "tests/SmbusServer/RawClient.h"
#include "tests/SmbusServer/Service.h"
#include "tests/support/RunProgram.h"
#include "tests/support/ServerProcess.h"

#include <filesystem>
#include <grp.h>
#include <gtest/gtest.h>
#include <optional>
#include <string>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>
#include <vector>

namespace fs = std::filesystem;
using namespace Service;

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

TEST_F( GroupTest, SocketsThatCannotBeGivenToTheGroupAreRemovedAgain ) {
    const std::string path = server().folder() + "/other.sock";
    const ProgramResult result = runProgram(
        { "/usr/bin/setpriv", "--clear-groups", "--inh-caps=-chown", "--bounding-set=-chown",
          program, "--board", boardFile, "--socket", path, "--group", "daemon" } );
    EXPECT_EQ( 3, result.status );
    EXPECT_EQ( "kavra-smbusd: " + path +
                   ": cannot be given to the group: Operation not permitted\n",
               result.err );
    EXPECT_FALSE( fs::exists( path ) || fs::exists( path + ".ctl" ) );
}

TEST( GroupCallTest, UnknownGroupIsAWrongCall ) {
    const ProgramResult result =
        runProgram( { program, "--board", boardFile, "--group", "no-such-group" } );
    EXPECT_EQ( 2, result.status );
    EXPECT_TRUE( result.err.starts_with( "kavra-smbusd: there is no group 'no-such-group';" ) );
}
