#include "HostTool/Host/Server.h"
#include "tests/HostTool/BoardFolder.h"

#include <gtest/gtest.h>

#include <cstdlib>

using namespace HostTool;

class ServerTest : public testing::Test {
  protected:
    std::string path() const { return folder.file( "s.sock" ); }
    BoardFolder folder;
};

TEST_F( ServerTest, ListeningSocketIsAServer ) {
    const ListeningSocket server( path() );
    EXPECT_EQ( "", whyNoServer( path() ) );
}

TEST_F( ServerTest, MissingSocketIsTold ) {
    EXPECT_EQ( "No such file or directory", whyNoServer( path() ) );
}

TEST_F( ServerTest, DeadServersSocketRefuses ) {
    ListeningSocket server( path() );
    server.die();
    EXPECT_EQ( "Connection refused", whyNoServer( path() ) );
}

TEST_F( ServerTest, OrdinaryFileRefuses ) {
    folder.write( "s.sock", "" );
    EXPECT_EQ( "Connection refused", whyNoServer( path() ) );
}

TEST_F( ServerTest, PathLongerThanASocketsIsTold ) {
    EXPECT_EQ( "the path is longer than a socket's may be",
               whyNoServer( std::string( 200, 'x' ) ) );
}

TEST_F( ServerTest, EnvironmentNamesTheSocket ) {
    setenv( "SMBUSD_SOCKET", "/a/b", 1 );
    EXPECT_EQ( "/a/b", serverSocket() );
    setenv( "SMBUSD_SOCKET", "", 1 );
    EXPECT_EQ( "/run/smbusd.sock", serverSocket() );
    unsetenv( "SMBUSD_SOCKET" );
    EXPECT_EQ( "/run/smbusd.sock", serverSocket() );
}
