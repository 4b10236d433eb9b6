#include "SmbusServer/Backlog.h"

#include <gtest/gtest.h>
#include <string>

using namespace SmbusServer;

class BacklogTest : public testing::Test {
  protected:
    struct Client : Backlog::Holder {
        bool evicted = false;
        void evict() override { evicted = true; }
    };

    static constexpr size_t third = Backlog::limit / 3;

    Backlog backlog;
    Client first;
    Client second;
    Client third_;
};

TEST_F( BacklogTest, NobodyGoesWithinTheLimit ) {
    backlog.holds( first, third );
    backlog.holds( second, 2 * third );
    EXPECT_EQ( 3 * third, backlog.bytes() );
    EXPECT_FALSE( first.evicted || second.evicted );
}

TEST_F( BacklogTest, WhoHasKeptLongestGoesFirst ) {
    backlog.holds( first, third );
    backlog.holds( second, third );
    backlog.holds( first, third + 1 ); // more of the same does not make it younger
    backlog.holds( third_, third );
    EXPECT_TRUE( first.evicted );
    EXPECT_FALSE( second.evicted || third_.evicted );
    EXPECT_EQ( 2 * third, backlog.bytes() );
}

TEST_F( BacklogTest, WhoIsDoneIsYoungAgain ) {
    backlog.holds( first, third );
    backlog.holds( second, third );
    backlog.holds( first, 0 );
    backlog.holds( first, third );
    backlog.holds( third_, third + 100 );
    EXPECT_TRUE( second.evicted );
    EXPECT_FALSE( first.evicted );
}

TEST_F( BacklogTest, OneThatTakesAllGoesItself ) {
    backlog.holds( first, Backlog::limit + 1 );
    EXPECT_TRUE( first.evicted );
    EXPECT_EQ( 0u, backlog.bytes() );
}

TEST_F( BacklogTest, ForgottenHolderIsNotEvicted ) {
    backlog.holds( first, third );
    backlog.forget( first );
    backlog.holds( second, Backlog::limit );
    EXPECT_FALSE( first.evicted || second.evicted );
}
