#include "tests/KavraUtil/CallCounter.h"
#include "tests/KavraUtil/PLSocketFixture.h"

#include <algorithm>
#include <cstdlib>
#include <functional>
#include <new>
#include <sys/socket.h>
#include <vector>

namespace {

using namespace std::chrono_literals;

class PLSocketCostTest : public PLSocketFixture {
  protected:
    /// Leaves the counts of a warm request for so many reads in calls_.
    void count( int reads ) {
        Smbus::TransactionRequest request;
        for ( int i = 0; i < reads; ++i ) {
            *request.add_request() = Requests::readBytes( 0x48, 0, 2 );
        }
        Smbus::TransactionResponse *received = nullptr;
        for ( int i = 0; i < 3; ++i ) {
            calls_.restart();
            const int before = CallCounter::allocationsOfThisThread();
            ASSERT_EQ( 0, client_.sendRequestWait( &request, &received ) );
            allocations_ = CallCounter::allocationsOfThisThread() - before;
            response_.reset( received );
        }
        ASSERT_EQ( reads, response_->response_size() );
    }

    /// What a fresh message with room for so many entries, and its parsing, allocate for the bytes
    /// of the last answer.
    int allocationsOfTheAnswer( int entries ) const {
        const std::string body = response_->SerializeAsString();
        const int before = CallCounter::allocationsOfThisThread();
        auto fresh = std::make_unique<Smbus::TransactionResponse>();
        fresh->mutable_response()->Reserve( entries );
        fresh->ParseFromArray( body.data(), static_cast<int>( body.size() ) );
        return CallCounter::allocationsOfThisThread() - before;
    }

    CallCounter &calls_ = CallCounter::ofThisThread();
    int allocations_ = 0;
};

TEST_F( PLSocketCostTest, OneSendAndOneReceivePerBatch ) {
    for ( const int reads : { 1, 5, 64 } ) {
        count( reads );
        EXPECT_EQ( 1, calls_.sends ) << reads;
        EXPECT_EQ( 1, calls_.receives ) << reads;
        EXPECT_EQ( 0, calls_.otherSocketCalls ) << reads;
        EXPECT_EQ( 0, calls_.connects ) << reads;
    }
}

TEST_F( PLSocketCostTest, WarmRequestAllocatesTheAnswerAlone ) {
    for ( const int reads : { 1, 64 } ) {
        count( reads );
        EXPECT_LT( 0, allocations_ ) << reads;
        EXPECT_EQ( allocationsOfTheAnswer( reads ), allocations_ ) << reads;
    }
}

TEST_F( PLSocketCostTest, LongAnswerThatHasArrivedTakesOneReceive ) {
    int ends[2];
    ASSERT_EQ( 0, ::socketpair( AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends ) );
    client_.fd = ends[0];
    const std::string body = messageOf<Smbus::TransactionResponse>( 150'000 ).SerializeAsString();
    calls_.beforeReceive = [&] {
        const std::string answer = frame( body );
        ASSERT_EQ( std::ssize( answer ), ::send( ends[1], answer.data(), answer.size(), 0 ) );
    };
    calls_.restart();
    EXPECT_EQ( 0, ask() );
    calls_.beforeReceive = nullptr;
    EXPECT_EQ( 1, calls_.receives );
    EXPECT_EQ( body.size(), response_->ByteSizeLong() );
    ::close( ends[1] );
}

TEST_F( PLSocketCostTest, InterruptedCallsAreRepeated ) {
    ASSERT_EQ( 0, ask( 1 ) );
    calls_.sendsToInterrupt = 2;
    calls_.receivesToInterrupt = 2;
    EXPECT_EQ( 0, ask( 2 ) );
    EXPECT_EQ( 0, calls_.sendsToInterrupt );
    EXPECT_EQ( 0, calls_.receivesToInterrupt );
    EXPECT_EQ( 2U, batches().size() );
}

TEST_F( PLSocketCostTest, InterruptionsDoNotStretchTheLimit ) {
    client_.answerLimit = 20ms;
    calls_.receivesToInterrupt = -1;
    EXPECT_EQ( ETIMEDOUT, ask() );
    calls_.receivesToInterrupt = 0;
}

TEST_F( PLSocketCostTest, EachPieceOfAnAnswerShortensTheWaitForTheNext ) {
    int ends[2];
    ASSERT_EQ( 0, ::socketpair( AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends ) );
    client_.fd = ends[0];
    std::vector<Milliseconds> limits;
    const std::string answer = frame( "" );
    calls_.beforeReceive = [&] {
        timeval limit = {};
        socklen_t size = sizeof limit;
        ::getsockopt( ends[0], SOL_SOCKET, SO_RCVTIMEO, &limit, &size );
        limits.emplace_back( limit.tv_sec * 1000 + limit.tv_usec / 1000 );
        ASSERT_EQ( 1, ::send( ends[1], &answer[limits.size() - 1], 1, 0 ) );
        const auto start = std::chrono::steady_clock::now();
        while ( std::chrono::steady_clock::now() < start + 5ms ) {
        }
    };
    EXPECT_EQ( 0, ask() );
    calls_.beforeReceive = nullptr;
    ASSERT_EQ( answer.size(), limits.size() );
    EXPECT_EQ( 30s, limits.front() );
    EXPECT_TRUE( std::ranges::is_sorted( limits, std::greater() ) );
    EXPECT_GT( 30s, limits.back() ); // the kernel rounds to its clock ticks
    ::close( ends[1] );
}

// What is left of the answer would be taken for the next one.
TEST_F( PLSocketCostTest, AnswerThatThereIsNoMemoryForClosesTheConnection ) {
    int ends[2];
    ASSERT_EQ( 0, ::socketpair( AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends ) );
    client_.fd = ends[0];
    const std::string half = frame( 500'000, std::string( 100, 'x' ) );
    calls_.beforeReceive = [&] {
        ASSERT_EQ( std::ssize( half ), ::send( ends[1], half.data(), half.size(), 0 ) );
    };
    {
        const CallCounter::ScarceMemory scarce( 400'000 );
        EXPECT_THROW( ask(), std::bad_alloc );
    }
    calls_.beforeReceive = nullptr;
    EXPECT_EQ( -1, client_.fd );
    EXPECT_EQ( 0, ask() ); // on a connection of its own
    ::close( ends[1] );
}

TEST_F( PLSocketCostTest, SendThatTookNothingFromADyingServerIsRepeatedOnANewConnection ) {
    ASSERT_EQ( 0, ask( 1 ) );
    calls_.nextSendFailsWith = ECONNRESET;
    EXPECT_EQ( 0, ask( 2 ) );
    EXPECT_EQ( 2, connectionCount() );
}

TEST_F( PLSocketCostTest, SendThatFailsOtherwiseIsNotRepeated ) {
    ASSERT_EQ( 0, ask( 1 ) );
    calls_.nextSendFailsWith = ENOBUFS;
    EXPECT_EQ( ENOBUFS, ask( 2 ) );
    EXPECT_EQ( -1, client_.fd );
    EXPECT_EQ( 1U, batches().size() );
}

TEST_F( PLSocketCostTest, DefaultPathHoldsWithoutAndWithAnEmptySetting ) {
    for ( const bool empty : { false, true } ) {
        ::unsetenv( "SMBUSD_SOCKET" );
        if ( empty ) {
            ::setenv( "SMBUSD_SOCKET", "", 1 );
        }
        calls_.connectedPath.clear();
        client_.setup();
        EXPECT_EQ( "/run/smbusd.sock", calls_.connectedPath ) << empty;
    }
}

TEST_F( PLSocketCostTest, SetupMakesOneAttempt ) {
    killServer();
    calls_.restart();
    EXPECT_EQ( -ECONNREFUSED, client_.setup() );
    EXPECT_EQ( 1, calls_.connects );
}

TEST_F( PLSocketCostTest, TriesUntilTheServerIsBack ) {
    ASSERT_EQ( 0, ask( 1 ) );
    killServer();
    calls_.restart();
    calls_.beforeConnect = [this] {
        if ( calls_.connects == 3 ) {
            restartServer();
        }
    };
    EXPECT_EQ( 0, ask( 2 ) );
    calls_.beforeConnect = nullptr;
    EXPECT_EQ( 3, calls_.connects );
    EXPECT_EQ( 2U, batches().size() );
}

TEST_F( PLSocketCostTest, TriesManyTimesButNotInARush ) {
    killServer();
    client_.reconnectLimit = 400ms;
    calls_.restart();
    EXPECT_EQ( ECONNREFUSED, ask() );
    EXPECT_LE( 2, calls_.connects );
    EXPECT_GE( 21, calls_.connects );
}

} // namespace
