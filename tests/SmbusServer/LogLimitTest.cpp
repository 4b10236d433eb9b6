#include "SmbusServer/LogLimit.h"

#include <gtest/gtest.h>

using namespace SmbusServer;
using std::chrono::seconds;

class LogLimitTest : public testing::Test {
  protected:
    /// How many of so many lines are written.
    int admitted( pid_t client, int lines ) {
        int count = 0;
        for ( int i = 0; i < lines; ++i ) {
            count += limit.admit( client, now ).has_value() ? 1 : 0;
        }
        return count;
    }

    LogLimit limit;
    LogLimit::Time now{};
};

TEST_F( LogLimitTest, FewLinesAreAllWritten ) {
    EXPECT_EQ( 20, admitted( 1, 20 ) );
}

TEST_F( LogLimitTest, ManyLinesAreCutAndCounted ) {
    EXPECT_EQ( 20, admitted( 1, 100 ) );
    now += seconds( 1 );
    EXPECT_EQ( 80u, limit.admit( 1, now ) );
    EXPECT_EQ( 0u, limit.admit( 1, now ) );
    EXPECT_FALSE( limit.admit( 1, now ) );
}

TEST_F( LogLimitTest, NoisyClientDoesNotSilenceAnother ) {
    admitted( 1, 1000 );
    EXPECT_EQ( 20, admitted( 2, 20 ) );
}

TEST_F( LogLimitTest, ManyClientsTogetherAreLimited ) {
    int count = 0;
    for ( pid_t client = 1; client <= 1000; ++client ) {
        count += admitted( client, 10 );
    }
    EXPECT_EQ( 200, count );
    now += seconds( 1 );
    EXPECT_EQ( 20, admitted( 2000, 20 ) );
    EXPECT_EQ( 0, admitted( 2001, 20 ) );
}

TEST_F( LogLimitTest, SilenceGivesTheLinesBack ) {
    admitted( 1, 1000 );
    now += seconds( 3600 );
    EXPECT_EQ( 20, admitted( 1, 1000 ) );
}
