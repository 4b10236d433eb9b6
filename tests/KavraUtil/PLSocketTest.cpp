#include "tests/KavraUtil/PLSocketFixture.h"
#include "tests/support/Sanitized.h"

#include <fcntl.h>
#include <iterator>
#include <sys/resource.h>
#include <sys/socket.h>
#include <sys/un.h>

namespace {

using namespace std::chrono_literals;

constexpr std::size_t largestBody = 1'048'576;

class PLSocketTest : public PLSocketFixture {
  protected:
    static std::ptrdiff_t openDescriptors() {
        return std::distance( std::filesystem::directory_iterator( "/proc/self/fd" ), {} );
    }
};

TEST_F( PLSocketTest, SetupConnects ) {
    EXPECT_EQ( -1, client_.fd );
    EXPECT_EQ( 0, client_.setup() );
    EXPECT_NE( -1, client_.fd );
    EXPECT_EQ( nullptr, client_.watcher );
}

TEST_F( PLSocketTest, SetupDropsTheOlderConnection ) {
    ASSERT_EQ( 0, client_.setup() );
    ASSERT_EQ( 0, ask() );
    const auto before = openDescriptors();
    EXPECT_EQ( 0, client_.setup() );
    EXPECT_EQ( 0, client_.setup() );
    EXPECT_EQ( 0, ask() );
    EXPECT_EQ( 3, connectionCount() );
    EXPECT_EQ( before, openDescriptors() );
}

TEST_F( PLSocketTest, SetupFailsWithoutASocketFile ) {
    killServer();
    std::filesystem::remove( socketPath() );
    EXPECT_EQ( -ENOENT, client_.setup() );
    EXPECT_EQ( -1, client_.fd );
}

TEST_F( PLSocketTest, SetupFailsOnADeadSocketFile ) {
    killServer();
    EXPECT_EQ( -ECONNREFUSED, client_.setup() );
    EXPECT_EQ( -1, client_.fd );
}

TEST_F( PLSocketTest, SetupFailsWithoutADescriptor ) {
    if ( isSanitized ) {
        GTEST_SKIP() << descriptorsAreTaken;
    }
    rlimit before = {};
    ASSERT_EQ( 0, ::getrlimit( RLIMIT_NOFILE, &before ) );
    const rlimit none = { 0, before.rlim_max };
    ASSERT_EQ( 0, ::setrlimit( RLIMIT_NOFILE, &none ) );
    const int status = client_.setup();
    ::setrlimit( RLIMIT_NOFILE, &before );
    EXPECT_EQ( -EMFILE, status );
    EXPECT_EQ( -1, client_.fd );
    EXPECT_EQ( 0, ask() );
}

TEST_F( PLSocketTest, SetupRefusesAPathThatNoSocketCanHave ) {
    ASSERT_EQ( 0, client_.setup() );
    const std::string fits = folder() / std::string( 106 - folder().native().size(), 'x' );
    ::setenv( "SMBUSD_SOCKET", fits.c_str(), 1 );
    EXPECT_EQ( -ENOENT, client_.setup() );
    ::setenv( "SMBUSD_SOCKET", ( fits + "x" ).c_str(), 1 );
    EXPECT_EQ( -ENAMETOOLONG, client_.setup() );
    EXPECT_EQ( -1, client_.fd );
}

TEST_F( PLSocketTest, SetupDoesNotQueueForABusyServer ) {
    sockaddr_un busy = {};
    busy.sun_family = AF_UNIX;
    ( folder() / "busy.sock" ).native().copy( busy.sun_path, sizeof( busy.sun_path ) - 1 );
    const int listener = ::socket( AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0 );
    ASSERT_EQ( 0, ::bind( listener, reinterpret_cast<const sockaddr *>( &busy ), sizeof busy ) );
    ASSERT_EQ( 0, ::listen( listener, 0 ) );
    ::setenv( "SMBUSD_SOCKET", busy.sun_path, 1 );

    PlatformLibrary::PLSocket first;
    EXPECT_EQ( 0, first.setup() );
    EXPECT_EQ( -EAGAIN, client_.setup() );
    ::close( listener );
}

TEST_F( PLSocketTest, ConnectionsAreNotInheritedByCommands ) {
    ASSERT_EQ( 0, client_.setup() );
    EXPECT_EQ( FD_CLOEXEC, ::fcntl( client_.fd, F_GETFD ) & FD_CLOEXEC );
}

TEST_F( PLSocketTest, DestructorClosesTheDescriptor ) {
    auto socket = std::make_unique<PlatformLibrary::PLSocket>();
    ASSERT_EQ( 0, socket->setup() );
    const int fd = socket->fd;
    socket.reset();
    EXPECT_EQ( -1, ::fcntl( fd, F_GETFD ) );
}

TEST_F( PLSocketTest, DestructorLeavesADescriptorThatIsNotItsOwn ) {
    auto socket = std::make_unique<PlatformLibrary::PLSocket>();
    ASSERT_EQ( 0, socket->setup() );
    const int fd = std::exchange( socket->fd, -1 );
    socket.reset();
    EXPECT_EQ( 0, ::close( fd ) );
}

TEST_F( PLSocketTest, AnswersARequest ) {
    ASSERT_EQ( 0, client_.setup() );
    answer( { bytes( 0x19 ) } );
    EXPECT_EQ( 0, ask() );
    EXPECT_EQ( "\x19", answered() );
    EXPECT_EQ( "48[00]x1", lastBatch() );
}

TEST_F( PLSocketTest, ConnectsFirstWhenThereIsNoConnection ) {
    EXPECT_EQ( 0, ask() );
    EXPECT_EQ( 1, connectionCount() );
}

TEST_F( PLSocketTest, KeepsOneConnection ) {
    for ( unsigned reg = 0; reg < 5; ++reg ) {
        EXPECT_EQ( 0, ask( reg ) );
    }
    EXPECT_EQ( 1, connectionCount() );
}

TEST_F( PLSocketTest, PassesAFailureOnAsAnAnswer ) {
    answerFailed( "no acknowledge" );
    EXPECT_EQ( 0, ask() );
    EXPECT_TRUE( response_->failed() );
}

TEST_F( PLSocketTest, PassesAWrongNumberOfEntriesOn ) {
    answerCount( 3 );
    EXPECT_EQ( 0, ask() );
    EXPECT_EQ( 3, response_->response_size() );
}

TEST_F( PLSocketTest, TakesAnEmptyAnswer ) {
    rawReply( frame( "" ) );
    EXPECT_EQ( 0, ask() );
    EXPECT_EQ( 0, response_->response_size() );
}

TEST_F( PLSocketTest, SendsAndReceivesTheLargestFrame ) {
    const auto request = messageOf<Smbus::TransactionRequest>( largestBody );
    answer( messageOf<Smbus::TransactionResponse>( largestBody ) );
    EXPECT_EQ( 0, send( request ) );
    EXPECT_EQ( largestBody, response_->ByteSizeLong() );
    EXPECT_EQ( request.SerializeAsString(), lastRequest().SerializeAsString() );
}

TEST_F( PLSocketTest, TakesALongAnswerToAShortRequest ) {
    answer( messageOf<Smbus::TransactionResponse>( largestBody ) );
    EXPECT_EQ( 0, ask() );
    EXPECT_EQ( largestBody, response_->ByteSizeLong() );
}

TEST_F( PLSocketTest, DoesNotSendALargerRequestAndStaysConnected ) {
    ASSERT_EQ( 0, ask() );
    EXPECT_EQ( EMSGSIZE, send( messageOf<Smbus::TransactionRequest>( largestBody + 1 ) ) );
    EXPECT_EQ( 0, ask( 1 ) );
    EXPECT_EQ( 2U, batches().size() );
    EXPECT_EQ( 1, connectionCount() );
}

TEST_F( PLSocketTest, ClosesTheConnectionOnALargerAnswer ) {
    rawReply( frame( largestBody + 1, "" ) );
    EXPECT_EQ( EPROTO, ask() );
    EXPECT_EQ( -1, client_.fd );
}

TEST_F( PLSocketTest, ClosesTheConnectionOnAnAnswerThatIsNoMessage ) {
    rawReply( frame( "\xff\xff" ) );
    EXPECT_EQ( EPROTO, ask() );
    EXPECT_EQ( -1, client_.fd );
}

TEST_F( PLSocketTest, ClosesTheConnectionOnBytesBehindTheAnswer ) {
    rawReply( frame( "" ) + frame( std::string( "\x0a\0", 2 ) ) );
    EXPECT_EQ( EPROTO, ask() );
    EXPECT_EQ( -1, client_.fd );
}

TEST_F( PLSocketTest, FailsOnAnAnswerThatBreaksOff ) {
    for ( const std::size_t count : { 0U, 1U, 4U, 6U } ) {
        shortReply( count );
        EXPECT_EQ( ECONNRESET, ask() ) << count;
        EXPECT_EQ( -1, client_.fd );
    }
}

TEST_F( PLSocketTest, FailsAfterTheAnswerLimit ) {
    ASSERT_EQ( 0, client_.setup() );
    client_.answerLimit = 20ms;
    stayQuiet();
    EXPECT_EQ( ETIMEDOUT, ask() );
    EXPECT_EQ( -1, client_.fd );
}

TEST_F( PLSocketTest, LimitOfNothingIsNotForEver ) {
    client_.answerLimit = 0ms;
    stayQuiet();
    EXPECT_EQ( ETIMEDOUT, ask() );
}

TEST_F( PLSocketTest, TakesNoOtherAnswerThanItsOwnAfterATimeOut ) {
    client_.answerLimit = 20ms;
    stayQuiet();
    EXPECT_EQ( ETIMEDOUT, ask( 1 ) );
    client_.answerLimit = 10s;
    answer( { bytes( 2 ) } );
    EXPECT_EQ( 0, ask( 2 ) );
    EXPECT_EQ( "\2", answered() );
    EXPECT_EQ( 2, connectionCount() );
}

TEST_F( PLSocketTest, TricklingServerDoesNotStretchTheLimit ) {
    // Long enough that the whole answer cannot have come, however late we get to look.
    constexpr unsigned length = 1000;
    client_.answerLimit = 100ms;
    trickleReply( 50ms );
    EXPECT_EQ( ETIMEDOUT, send( Requests::batch( { Requests::readBytes( 0x48, 0, length ) } ) ) );
}

TEST_F( PLSocketTest, WaitsForAnAnswerInPieces ) {
    trickleReply( 1ms );
    EXPECT_EQ( 0, ask() );
    EXPECT_EQ( std::string( 1, '\0' ), answered() );
}

TEST_F( PLSocketTest, WaitsTheWholeLimitAgainAfterAnAnswerInPieces ) {
    trickleReply( 1ms );
    ASSERT_EQ( 0, ask() );
    ASSERT_EQ( 0, ask() );
    timeval limit = {};
    socklen_t size = sizeof limit;
    ASSERT_EQ( 0, ::getsockopt( client_.fd, SOL_SOCKET, SO_RCVTIMEO, &limit, &size ) );
    EXPECT_EQ( 30, limit.tv_sec );
}

TEST_F( PLSocketTest, LimitsAreHalfAMinuteAndFiveSecondsAtFirst ) {
    EXPECT_EQ( 30s, client_.answerLimit );
    EXPECT_EQ( 5s, client_.reconnectLimit );
}

TEST_F( PLSocketTest, GivesUpOnAServerThatTakesNothing ) {
    int ends[2];
    ASSERT_EQ( 0, ::socketpair( AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends ) );
    client_.fd = ends[0];
    client_.answerLimit = 20ms;
    EXPECT_EQ( ETIMEDOUT, send( messageOf<Smbus::TransactionRequest>( largestBody ) ) );
    EXPECT_EQ( -1, client_.fd );
    ::close( ends[1] );
}

} // namespace
