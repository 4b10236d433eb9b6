#include "SmbusServer/Workspace.h"

#include <gtest/gtest.h>
#include <string>

using namespace SmbusServer;

TEST( WorkspaceTest, MessagesThatHaveGrownAreReplacedAfterAWhile ) {
    constexpr size_t large = 1'100'000;
    Workspace workspace;
    workspace.request.add_request()->set_data( std::string( large, 'x' ) );
    workspace.response.add_response()->set_data( std::string( large, 'x' ) );
    workspace.passed( 1000 );
    EXPECT_GT( workspace.request.SpaceUsedLong(), large );
    workspace.passed( 1 << 20 );
    EXPECT_LT( workspace.request.SpaceUsedLong(), 1000u );
    EXPECT_LT( workspace.response.SpaceUsedLong(), 1000u );
}

TEST( WorkspaceTest, SmallMessagesAreKeptWithTheirMemory ) {
    Workspace workspace;
    workspace.request.add_request()->set_data( std::string( 1000, 'x' ) );
    workspace.passed( 1 << 20 );
    EXPECT_EQ( 1, workspace.request.request_size() );
}
