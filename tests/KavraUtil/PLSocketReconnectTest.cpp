#include "tests/KavraUtil/PLSocketFixture.h"

#include <csignal>
#include <sys/socket.h>

namespace {

using namespace std::chrono_literals;

class PLSocketReconnectTest : public PLSocketFixture {};

TEST_F( PLSocketReconnectTest, RestartBetweenTwoBatchesIsNotSeen ) {
    ASSERT_EQ( 0, ask( 1 ) );
    restartServer();
    EXPECT_EQ( 0, ask( 2 ) );
    EXPECT_EQ( 0, ask( 3 ) );
    EXPECT_EQ( 3U, batches().size() );
    EXPECT_EQ( 2, connectionCount() );
}

TEST_F( PLSocketReconnectTest, HangUpAfterAnAnswerIsNotSeen ) {
    int ends[2];
    ASSERT_EQ( 0, ::socketpair( AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends ) );
    client_.fd = ends[0];
    ::close( ends[1] );
    EXPECT_EQ( 0, ask() );
    EXPECT_EQ( 1, connectionCount() );
}

TEST_F( PLSocketReconnectTest, HangUpThatLostBytesOfOursIsNotSeen ) {
    int ends[2];
    ASSERT_EQ( 0, ::socketpair( AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends ) );
    client_.fd = ends[0];
    ASSERT_EQ( 1, ::send( ends[0], "x", 1, 0 ) );
    ::close( ends[1] ); // with a byte unread: the next call on our end gives ECONNRESET
    EXPECT_EQ( 0, ask() );
    EXPECT_EQ( 1, connectionCount() );
}

TEST_F( PLSocketReconnectTest, BytesLeftOnADeadConnectionAreNoAnswer ) {
    int ends[2];
    ASSERT_EQ( 0, ::socketpair( AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends ) );
    client_.fd = ends[0];
    const std::string stale = frame( "\x0a\x03\x0a\x01\x63" );
    ASSERT_EQ( std::ssize( stale ), ::send( ends[1], stale.data(), stale.size(), 0 ) );
    ::close( ends[1] );

    answer( { bytes( 0x19 ) } );
    EXPECT_EQ( 0, ask() );
    EXPECT_EQ( "\x19", answered() );
}

TEST_F( PLSocketReconnectTest, GivesUpWithWhatConnectingGave ) {
    ASSERT_EQ( 0, ask() );
    killServer();
    client_.reconnectLimit = 0ms;
    EXPECT_EQ( ECONNREFUSED, ask() );
    std::filesystem::remove( socketPath() );
    EXPECT_EQ( ENOENT, ask() );
    EXPECT_EQ( -1, client_.fd );
}

TEST_F( PLSocketReconnectTest, SendsAgainOnceTheServerIsBack ) {
    killServer();
    client_.reconnectLimit = 0ms;
    ASSERT_EQ( ECONNREFUSED, ask( 1 ) );
    restartServer();
    EXPECT_EQ( 0, ask( 2 ) );
    EXPECT_EQ( "48[02]x1", lastBatch() );
}

TEST_F( PLSocketReconnectTest, WritingToADeadServerRaisesNoSignal ) {
    std::signal( SIGPIPE, SIG_DFL );
    ASSERT_EQ( 0, ask() );
    killServer();
    client_.reconnectLimit = 0ms;
    EXPECT_EQ( ECONNREFUSED, ask() );
}

TEST_F( PLSocketReconnectTest, RequestWithoutAnswerFailsAndIsNotSentAgain ) {
    dropReply();
    EXPECT_EQ( ECONNRESET, ask( 1 ) );
    EXPECT_EQ( -1, client_.fd );
    EXPECT_EQ( 0, ask( 2 ) );
    EXPECT_EQ( "48[02]x1", lastBatch() );
    EXPECT_EQ( 2U, batches().size() );
    EXPECT_EQ( 2, connectionCount() );
}

TEST_F( PLSocketReconnectTest, RequestTakenInPartIsNotSentAgain ) {
    int ends[2];
    ASSERT_EQ( 0, ::socketpair( AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends ) );
    client_.fd = ends[0];
    std::thread server( [&] {
        char some[1024];
        EXPECT_LT( 0, ::recv( ends[1], some, sizeof some, 0 ) );
        ::close( ends[1] );
    } );
    EXPECT_EQ( ECONNRESET, send( messageOf<Smbus::TransactionRequest>( 1'048'576 ) ) );
    server.join();
    EXPECT_EQ( 0U, batches().size() );
    EXPECT_EQ( 0, connectionCount() );
}

} // namespace
