// SIGHUP.
#include "tests/SmbusServer/RawClient.h"
#include "tests/SmbusServer/Service.h"
#include "tests/support/ServerProcess.h"

#include <csignal>
#include <fstream>
#include <gtest/gtest.h>
#include <string>

using namespace Service;

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
