// A connection above a performer that takes its time, as one on real controllers does.
#include "SmbusServer/Connection.h"

#include "SmbusServer/Peer.h"
#include "tests/SmbusServer/RawClient.h"
#include "tests/support/Requests.h"

#include <filesystem>
#include <functional>
#include <gtest/gtest.h>
#include <string>
#include <sys/socket.h>
#include <unistd.h>
#include <utility>
#include <vector>

using namespace SmbusServer;
using namespace Requests;

namespace {

/// Keeps every batch until the test ends it.
class SlowPerformer : public Performer {
  public:
    bool perform( Smbus::TransactionRequest &request, Smbus::TransactionResponse &,
                  Client &client ) override {
        requests.push_back( request );
        waiting = &client;
        return false;
    }
    void forget( Client &client ) override {
        if ( waiting == &client ) {
            waiting = nullptr;
            ++forgotten;
        }
    }
    void finish() override {}

    void end( const std::string &data ) {
        Smbus::TransactionResponse response;
        response.add_response()->set_data( data );
        std::exchange( waiting, nullptr )->performed( response );
    }

    std::vector<Smbus::TransactionRequest> requests;
    Client *waiting = nullptr;
    int forgotten = 0;
};

class ConnectionTest : public testing::Test {
  protected:
    static EventLoop newLoop() {
        sd_event *made = nullptr;
        sd_event_new( &made );
        return EventLoop( made );
    }
    void runUntil( const std::function<bool()> &condition ) {
        while ( !condition() ) {
            ASSERT_GT( sd_event_run( loop.get(), 10'000'000 ), 0 );
        }
    }
    /// Whatever is there to be done now.
    void runOut() {
        while ( sd_event_run( loop.get(), 0 ) > 0 ) {
        }
    }
    void ask( unsigned chip ) {
        const size_t before = performer.requests.size();
        client->send( batch( { readBytes( chip, 0, 1 ) } ) );
        runUntil( [&] { return performer.requests.size() > before; } );
    }

    EventLoop loop = newLoop();
    SlowPerformer performer;
    Workspace workspace;
    std::string path = testing::TempDir() + "connection-" + std::to_string( getpid() );
    Listener listener{ loop.get(), ListeningSocket( path ),
                       [this]( Descriptor socket, Listener &owner ) {
                           return std::make_unique<Connection>( loop.get(), std::move( socket ),
                                                                owner, performer, workspace );
                       } };
    std::unique_ptr<RawClient> client = std::make_unique<RawClient>( path );
};

TEST_F( ConnectionTest, AnswerComesWhenTheBatchHasEnded ) {
    ask( 0x48 );
    performer.end( "a" );
    EXPECT_EQ( "a", client->answer()->response( 0 ).data() );
    ask( 0x49 );
    performer.end( "b" );
    EXPECT_EQ( "b", client->answer()->response( 0 ).data() );
}

TEST_F( ConnectionTest, ClientThatSendsNoMoreStillGetsItsAnswer ) {
    ask( 0x48 );
    client->endOfInput();
    runOut();
    performer.end( "a" );
    EXPECT_EQ( "a", client->answer()->response( 0 ).data() );
}

TEST_F( ConnectionTest, ClientThatLeavesIsForgotten ) {
    ask( 0x48 );
    client.reset();
    runUntil( [&] { return performer.forgotten == 1; } );
    EXPECT_EQ( nullptr, performer.waiting );
}

TEST_F( ConnectionTest, NothingIsReadWhileABatchIsPerformed ) {
    ask( 0x48 );
    client->send( batch( { readBytes( 0x49, 0, 1 ) } ) );
    runOut();
    EXPECT_EQ( 1u, performer.requests.size() );
    performer.end( "a" );
    runUntil( [&] { return performer.requests.size() == 2; } );
}

TEST_F( ConnectionTest, OtherClientsAreServedMeanwhile ) {
    ask( 0x48 );
    Performer::Client *first = performer.waiting;
    RawClient other( path );
    other.send( batch( { readBytes( 0x49, 0, 1 ) } ) );
    runUntil( [&] { return performer.requests.size() == 2; } );
    performer.end( "b" );
    EXPECT_EQ( "b", other.answer()->response( 0 ).data() );
    performer.waiting = first;
    performer.end( "a" );
    EXPECT_EQ( "a", client->answer()->response( 0 ).data() );
}

// Nobody's: what the kernel does not know of is not in the group.
TEST( PeerTest, SocketWithoutAnotherEndMayUseNothing ) {
    const Descriptor alone( socket( AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0 ) );
    EXPECT_FALSE( mayUse( alone.get(), getegid() ) );
}

} // namespace
