/// Noticing that the server goes and comes, with nothing but its socket.
#include "HostTool/Host/ServerLink.h"
#include "HostTool/Host/HostServices.h"
#include "HostTool/Host/Server.h"
#include "tests/HostTool/BoardFolder.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <unistd.h>

using namespace HostTool;

class ServerLinkTest : public testing::Test {
  protected:
    ServerLinkTest() {
        constexpr int replace = 1;
        setenv( "SMBUSD_SOCKET", path().c_str(), replace );
    }

    std::string path() const { return folder.file( "s.sock" ); }
    void serve() {
        remove( path().c_str() );
        server = std::make_unique<ListeningSocket>( path() );
    }
    void link() {
        subject = std::make_unique<ServerLink>(
            HostServices::get().loop(),
            [this]( const std::string &reason ) { said.push_back( reason ); } );
    }

    /// Runs the loop until something new was said, at most for a few seconds.
    void waitForNews() {
        const size_t before = said.size();
        for ( int i = 0; i < 500 && said.size() == before; ++i ) {
            HostServices::get().runFor( 10 );
        }
    }

    BoardFolder folder;
    std::unique_ptr<ListeningSocket> server;
    std::vector<std::string> said;
    std::unique_ptr<ServerLink> subject;
};

TEST_F( ServerLinkTest, SaysNothingWhileThereIsAServer ) {
    serve();
    link();
    HostServices::get().runFor( 20 );
    EXPECT_TRUE( said.empty() );
}

TEST_F( ServerLinkTest, SaysThatTheServerGoesAndComesBack ) {
    serve();
    link();
    server->die();
    waitForNews();
    waitForNews();
    EXPECT_EQ( ( std::vector<std::string>{ "it hung up", "Connection refused" } ), said );
    serve();
    waitForNews();
    ASSERT_EQ( 3U, said.size() );
    EXPECT_EQ( "", said.back() );
}

TEST_F( ServerLinkTest, ServerThatIsBusyIsThere ) {
    serve();
    std::vector<int> waiting;
    for ( ServerConnection each = connectToServer( path() ); each.error != EAGAIN;
          each = connectToServer( path() ) ) {
        ASSERT_EQ( 0, each.error );
        waiting.push_back( each.fd );
    }
    link();
    EXPECT_TRUE( said.empty() );
    for ( const int each : waiting ) {
        close( each );
    }
}

TEST_F( ServerLinkTest, SaysAtOnceThatThereIsNone ) {
    link();
    EXPECT_EQ( std::vector<std::string>{ "No such file or directory" }, said );
}
