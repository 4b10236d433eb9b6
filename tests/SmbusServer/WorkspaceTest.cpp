#include "SmbusServer/Workspace.h"

#include "tests/support/Requests.h"

#include <gtest/gtest.h>
#include <string>

using namespace Requests;
using namespace SmbusServer;

class WorkspaceTest : public testing::Test {
  protected:
    const std::string one = batch( { readBytes( 0x48, 0, 2 ) } ).SerializeAsString();
    const std::string two =
        batch( { sendByte( 0x70, 1 ), readBytes( 0x48, 1, 1 ) } ).SerializeAsString();

    bool holds( const std::string &payload ) const {
        return workspace.request.SerializeAsString() == payload;
    }

    Workspace workspace;
};

TEST_F( WorkspaceTest, RequestIsThatOfThePayload ) {
    for ( const std::string &payload : { one, one, two, one, two, two } ) {
        EXPECT_TRUE( workspace.parse( payload ) );
        EXPECT_TRUE( holds( payload ) );
    }
}

TEST_F( WorkspaceTest, RequestThatWasTakenIsMadeAnew ) {
    workspace.parse( one );
    Smbus::TransactionRequest taken;
    taken.Swap( &workspace.request );
    workspace.requestTaken();
    EXPECT_TRUE( workspace.parse( one ) );
    EXPECT_TRUE( holds( one ) );
}

TEST_F( WorkspaceTest, BrokenPayloadIsRefusedEachTime ) {
    EXPECT_TRUE( workspace.parse( one ) );
    EXPECT_FALSE( workspace.parse( "\x0a\x7f" ) );
    EXPECT_FALSE( workspace.parse( "\x0a\x7f" ) );
    EXPECT_TRUE( workspace.parse( one ) );
    EXPECT_TRUE( holds( one ) );
}

TEST_F( WorkspaceTest, EmptyPayloadIsAnEmptyBatch ) {
    workspace.parse( two );
    EXPECT_TRUE( workspace.parse( "" ) );
    EXPECT_EQ( 0, workspace.request.request_size() );
}

TEST_F( WorkspaceTest, MessagesThatHaveGrownAreReplaced ) {
    const std::string large =
        batch( { writeBytes( 0x48, 0, std::string( 1'000'000, 'x' ) ) } ).SerializeAsString();
    for ( int i = 0; i < 4; ++i ) {
        workspace.passed( large.size() );
        ASSERT_TRUE( workspace.parse( large ) );
    }
    workspace.response.add_response()->set_data( std::string( 1'100'000, 'x' ) );
    workspace.passed( 1 << 20 );
    EXPECT_LT( workspace.request.SpaceUsedLong(), 1'100'000u );
    EXPECT_LT( workspace.response.SpaceUsedLong(), 1000u );
    EXPECT_TRUE( workspace.parse( one ) );
    EXPECT_TRUE( holds( one ) );
}
