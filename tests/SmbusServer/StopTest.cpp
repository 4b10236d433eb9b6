// SIGTERM while a client has an answer to take.
#include "tests/SmbusServer/RawClient.h"
#include "tests/SmbusServer/Service.h"
#include "tests/support/ServerProcess.h"

#include <chrono>
#include <csignal>
#include <gtest/gtest.h>
#include <stdexcept>

using namespace Service;
using std::chrono::steady_clock;

class StopTest : public testing::Test {
  protected:
    static constexpr int many = 120;

    /// Tells the server to stop while a client has most of a long answer to take.
    void stopWithAnAnswerToBeTaken() {
        client.send( inletReads( many, 8192 ) );
        RawClient other( server.socketPath() );
        ASSERT_TRUE( other.ask( inletReads( 1, 1 ) ) ); // the batch before has been performed
        server.signal( SIGTERM );
        ASSERT_TRUE( other.hungUp() ); // it stops
    }

    ServerProcess server;
    RawClient client{ server.socketPath() };
};

TEST_F( StopTest, AnswerThatIsStillToBeTakenIsSent ) {
    constexpr std::chrono::seconds patience{ 4 }; // the server waits a second longer
    const auto start = steady_clock::now();
    stopWithAnAnswerToBeTaken();
    const auto answer = client.answer();
    if ( steady_clock::now() - start > patience ) {
        GTEST_SKIP() << "the machine was too busy to take the answer in time";
    }
    ASSERT_TRUE( answer );
    EXPECT_EQ( many, answer->response_size() );
    EXPECT_TRUE( client.hungUp() );
    EXPECT_EQ( 0, server.stop() );
}

TEST_F( StopTest, NobodyConnectsWhileItStops ) {
    stopWithAnAnswerToBeTaken();
    EXPECT_THROW( RawClient( server.socketPath() ), std::runtime_error );
    EXPECT_EQ( 0, server.stop() );
}

TEST_F( StopTest, SecondSignalDoesNotWait ) {
    stopWithAnAnswerToBeTaken();
    EXPECT_EQ( 0, server.stop() );
}
