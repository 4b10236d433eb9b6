// What the loop does after SIGTERM, step by step: nothing here depends on how fast the machine is.
#include "SmbusServer/Signals.h"
#include "tests/SmbusServer/TemporaryFile.h"

#include <cerrno>
#include <csignal>
#include <gtest/gtest.h>
#include <memory>
#include <optional>
#include <unistd.h>
#include <utility>

using namespace SmbusServer;
using namespace std::chrono_literals;

namespace {

/// A client that has an answer coming until somebody says that it has been taken.
class WaitingSession : public Session {
  public:
    explicit WaitingSession( Descriptor client ) : client_( std::move( client ) ) {}
    bool busy() const override { return !taken; }
    bool taken = false;

  private:
    Descriptor client_;
};

class StopSignalsTest : public testing::Test {
  protected:
    StopSignalsTest() {
        blockSignals();
        sd_event *made = nullptr;
        sd_event_new( &made );
        loop.reset( made );
        listener.emplace(
            loop.get(), ListeningSocket( file.path() ), [this]( Descriptor connected, Listener & ) {
                auto fresh = std::make_unique<WaitingSession>( std::move( connected ) );
                session = fresh.get();
                return fresh;
            } );
    }

    void connectAndSignal( int number ) {
        client = connectTo( file.path(), true );
        step();
        ASSERT_NE( nullptr, session );
        kill( getpid(), number );
        step();
    }

    /// One turn of the loop, which does not wait.
    void step() { sd_event_run( loop.get(), 0 ); }
    bool ended() const { return sd_event_get_state( loop.get() ) == SD_EVENT_FINISHED; }

    TemporaryFile file;
    EventLoop loop;
    std::optional<Listener> listener;
    WaitingSession *session = nullptr;
    Descriptor client;
};

TEST_F( StopSignalsTest, EndsAtOnceWhenNobodyWaits ) {
    const StopSignals stop( loop.get(), { &*listener }, 1h );
    kill( getpid(), SIGINT );
    EXPECT_EQ( 0, sd_event_loop( loop.get() ) );
}

TEST_F( StopSignalsTest, WaitsUntilTheAnswerHasBeenTaken ) {
    const StopSignals stop( loop.get(), { &*listener }, 1h );
    connectAndSignal( SIGTERM );
    step();
    EXPECT_FALSE( ended() );
    session->taken = true;
    listener->idle( *session );
    EXPECT_EQ( 0, sd_event_loop( loop.get() ) );
}

TEST_F( StopSignalsTest, NobodyConnectsInTheMeantime ) {
    const StopSignals stop( loop.get(), { &*listener }, 1h );
    connectAndSignal( SIGTERM );
    EXPECT_FALSE( ended() );
    EXPECT_FALSE( connectTo( file.path(), true ).valid() );
    EXPECT_EQ( ENOENT, errno );
}

TEST_F( StopSignalsTest, SecondSignalEndsTheWait ) {
    const StopSignals stop( loop.get(), { &*listener }, 1h );
    connectAndSignal( SIGTERM );
    kill( getpid(), SIGINT );
    EXPECT_EQ( 0, sd_event_loop( loop.get() ) );
}

TEST_F( StopSignalsTest, WaitHasALimit ) {
    const StopSignals stop( loop.get(), { &*listener }, 1us );
    connectAndSignal( SIGTERM );
    EXPECT_EQ( 0, sd_event_loop( loop.get() ) );
}

} // namespace
