#include "HostTool/Host/HostServices.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <PlatformLibrary/pl.h>

#include <csignal>
#include <stdexcept>
#include <string>
#include <unistd.h>
#include <utility>

using namespace HostTool;

static HostServices &host() {
    return HostServices::get();
}

class HostServicesTest : public testing::Test {
  protected:
    HostServicesTest() {
        host().traceLevelIs( -1 );
        host().forgetLines();
    }
};

TEST_F( HostServicesTest, KeepsTheImportantLinesOfOneCall ) {
    pl_trace( 0, "from before" );
    host().forgetLines();
    pl_trace( 0, "creating %s", "LM75" );
    pl_trace( 3, "execute: error. %d", 32 );
    pl_trace( 4, "callback entry" );
    EXPECT_EQ( ( std::vector<std::string>{ "creating LM75", "execute: error. 32" } ),
               host().lines() );
    EXPECT_EQ( "execute: error. 32", host().lastLine() );
}

TEST_F( HostServicesTest, SilentCallHasNoLastLine ) {
    host().forgetLines();
    EXPECT_EQ( "", host().lastLine() );
}

TEST_F( HostServicesTest, KeepsTheLatestOfManyLines ) {
    for ( int i = 0; i < 1000; ++i ) {
        pl_trace( 0, "line %d", i );
    }
    EXPECT_EQ( ( std::vector<std::string>{ "line 997", "line 998", "line 999" } ), host().lines() );
}

TEST_F( HostServicesTest, PrintsUpToTheLevelAskedFor ) {
    host().traceLevelIs( 4 );
    testing::internal::CaptureStderr();
    pl_trace( 4, "in %s", "time" );
    pl_trace( 5, "too much" );
    EXPECT_EQ( "trace 4: in time\n", testing::internal::GetCapturedStderr() );
}

TEST_F( HostServicesTest, PrintsNothingUnlessAsked ) {
    testing::internal::CaptureStderr();
    pl_trace( 0, "quiet" );
    EXPECT_EQ( "", testing::internal::GetCapturedStderr() );
}

TEST_F( HostServicesTest, PrintableTextDisturbsNothing ) {
    EXPECT_EQ( "a?[31m b c?", printable( "a\033[31m\tb\nc\xc3\n\n" ) );
    EXPECT_EQ( "a\nb", printable( "a\nb\n", true ) );
}

/// One timer that writes its letter each time it fires.
struct Letter {
    Letter( std::string &log, char letter, int again = 0 )
        : log_( log ), letter_( letter ), again_( again ), timer( pl_timer_add( fire, this ) ) {}
    ~Letter() { remove(); }
    Letter( const Letter & ) = delete;
    Letter &operator=( const Letter & ) = delete;

    void remove() {
        if ( timer ) {
            pl_timer_delete( std::exchange( timer, nullptr ) );
        }
    }

    static void fire( void *context ) {
        Letter *self = static_cast<Letter *>( context );
        self->log_ += self->letter_;
        if ( self->again_-- > 0 ) {
            pl_timer_set( self->timer, 1 );
        }
    }

    std::string &log_;
    char letter_;
    int again_;
    pl_timer *timer;
};

class TimerTest : public testing::Test {
  protected:
    /// However late a busy machine lets us look.
    void expectInTheEnd( const std::string &expected ) {
        for ( int i = 0; i < 500 && log.size() < expected.size(); ++i ) {
            host().runFor( 20 );
        }
        EXPECT_EQ( expected, log );
    }

    std::string log;
};

TEST_F( TimerTest, FireOnceInTheOrderOfTheirPeriods ) {
    Letter late( log, 'l' ), early( log, 'e' );
    EXPECT_EQ( 0, pl_timer_set( late.timer, 20 ) );
    EXPECT_EQ( 0, pl_timer_set( early.timer, 5 ) );
    expectInTheEnd( "el" );
}

TEST_F( TimerTest, DoNotFireUnarmed ) {
    Letter timer( log, 'x' );
    host().runFor( 5 );
    EXPECT_EQ( "", log );
}

TEST_F( TimerTest, FireAgainWhenArmedAgain ) {
    Letter timer( log, 'x', 2 );
    pl_timer_set( timer.timer, 1 );
    expectInTheEnd( "xxx" );
}

TEST_F( TimerTest, LaterPeriodReplacesTheEarlier ) {
    Letter timer( log, 'x' );
    pl_timer_set( timer.timer, 1 );
    pl_timer_set( timer.timer, 60000 );
    host().runFor( 20 );
    EXPECT_EQ( "", log );
}

TEST_F( TimerTest, DeletedTimerIsSilent ) {
    Letter timer( log, 'x' );
    pl_timer_set( timer.timer, 1 );
    timer.remove();
    host().runFor( 20 );
    EXPECT_EQ( "", log );
}

TEST_F( TimerTest, TimerMayDeleteItselfInItsCallback ) {
    static pl_timer *timer;
    timer = pl_timer_add( []( void * ) { pl_timer_delete( timer ); }, nullptr );
    EXPECT_EQ( 0, pl_timer_set( timer, 1 ) );
    host().runFor( 20 );
}

TEST_F( TimerTest, PeriodBelowZeroIsRefused ) {
    Letter timer( log, 'x' );
    EXPECT_NE( 0, pl_timer_set( timer.timer, -1 ) );
}

TEST_F( TimerTest, PeriodIsMilliseconds ) {
    Letter timer( log, 'x' );
    pl_timer_set( timer.timer, 1000 );
    host().runFor( 50 );
    EXPECT_EQ( "", log );
}

TEST_F( TimerTest, ExceptionOfACallbackIsReportedAndSurvived ) {
    pl_timer *timer =
        pl_timer_add( []( void * ) { throw std::runtime_error( "no value" ); }, nullptr );
    pl_timer_set( timer, 1 );
    testing::internal::CaptureStderr();
    host().runFor( 20 );
    EXPECT_EQ( "kavractl: a timer of the library failed: no value\n",
               testing::internal::GetCapturedStderr() );
}

TEST_F( TimerTest, HeldTimersFireWhenTheyAreLetGo ) {
    Letter due( log, 'd' ), later( log, 'l' );
    host().timersAreHeld( true );
    pl_timer_set( due.timer, 1 );
    pl_timer_set( later.timer, 60000 );
    host().runFor( 20 );
    EXPECT_EQ( "", log );
    host().timersAreHeld( false );
    host().runFor( 20 );
    EXPECT_EQ( "d", log );
}

TEST_F( TimerTest, HeldTimerMayBeDeleted ) {
    Letter timer( log, 'x' );
    host().timersAreHeld( true );
    pl_timer_set( timer.timer, 1 );
    host().runFor( 20 );
    timer.remove();
    host().timersAreHeld( false );
    host().runFor( 20 );
    EXPECT_EQ( "", log );
}

TEST_F( HostServicesTest, PrintedTraceDisturbsNoTerminal ) {
    host().traceLevelIs( 0 );
    testing::internal::CaptureStderr();
    pl_trace( 0, "serial %s", "A1\033[2J" );
    EXPECT_EQ( "trace 0: serial A1?[2J\n", testing::internal::GetCapturedStderr() );
}

TEST_F( TimerTest, SignalOrALostTerminalEndsTheRun ) {
    static int number;
    for ( const int each : { SIGINT, SIGTERM, SIGHUP } ) {
        number = each;
        pl_timer *timer = pl_timer_add( []( void * ) { kill( getpid(), number ); }, nullptr );
        pl_timer_set( timer, 1 );
        host().runUntilInterrupted( std::nullopt );
        pl_timer_delete( timer );
    }
}

TEST_F( TimerTest, SignalThatIsIgnoredDoesNotEndTheRun ) {
    const auto before = signal( SIGHUP, SIG_IGN );
    Letter between( log, 'b' );
    pl_timer *ignored = pl_timer_add( []( void * ) { kill( getpid(), SIGHUP ); }, nullptr );
    pl_timer *last = pl_timer_add( []( void * ) { kill( getpid(), SIGTERM ); }, nullptr );
    pl_timer_set( ignored, 1 );
    pl_timer_set( between.timer, 20 );
    pl_timer_set( last, 40 );
    host().runUntilInterrupted( std::nullopt );
    EXPECT_EQ( "b", log );
    pl_timer_delete( ignored );
    pl_timer_delete( last );
    signal( SIGHUP, before );
}

TEST_F( TimerTest, TimerThatIsDueFiresBeforeTheTimeIsOver ) {
    Letter first( log, '1' ), second( log, '2' ), third( log, '3' );
    // What takes longer than the run makes all of them due at once.
    const auto busy = []( void * ) {
        const auto end = std::chrono::steady_clock::now() + std::chrono::milliseconds( 30 );
        while ( std::chrono::steady_clock::now() < end ) {
        }
    };
    pl_timer *slow = pl_timer_add( busy, nullptr );
    pl_timer_set( slow, 1 );
    pl_timer_set( first.timer, 5 );
    pl_timer_set( second.timer, 6 );
    pl_timer_set( third.timer, 7 );
    host().runFor( 8 );
    EXPECT_THAT( log, testing::UnorderedElementsAre( '1', '2', '3' ) );
    pl_timer_delete( slow );
}

TEST_F( HostServicesTest, BlinksAreHeardFromTheLibrary ) {
    const unsigned before = host().blinks();
    pl_trace( 4, "%s() led blink timer hit notifying %zu leds", "tick", size_t{ 2 } );
    pl_trace( 4, "%s(%p)", "tick", static_cast<void *>( nullptr ) );
    EXPECT_EQ( before + 1, host().blinks() );
}

/// A timer that the library polls from, as it announces one.
struct Poller {
    explicit Poller( int period ) : timer( pl_timer_add( []( void * ) {}, nullptr ) ) {
        pl_trace( 0, "setting polling interval to %ums", static_cast<unsigned>( period ) );
        pl_timer_set( timer, period );
    }
    ~Poller() { pl_timer_delete( timer ); }

    pl_timer *timer;
};

TEST_F( HostServicesTest, OtherTimersAreNoPollers ) {
    pl_timer *timer = pl_timer_add( []( void * ) {}, nullptr );
    pl_timer_set( timer, 1 );
    host().runFor( 5 );
    EXPECT_FALSE( host().polls() );
    EXPECT_FALSE( host().lastPoll() );
    pl_timer_delete( timer );
}

TEST_F( HostServicesTest, PollIsRememberedWhenItHasHappened ) {
    const Poller poller( 1 );
    EXPECT_TRUE( host().polls() );
    EXPECT_FALSE( host().lastPoll() );
    const auto before = std::chrono::steady_clock::now();
    host().runFor( 5 );
    ASSERT_TRUE( host().lastPoll() );
    EXPECT_GE( *host().lastPoll(), before );
}

TEST_F( HostServicesTest, PeriodsOfPollersStandAsTheyWereArmedFirst ) {
    EXPECT_TRUE( host().pollPeriods().empty() );
    const Poller slow( 60000 );
    const Poller quick( 2 );
    pl_timer_set( quick.timer, 7 ); // no first time
    EXPECT_EQ( ( std::vector<int>{ 60000, 2 } ), host().pollPeriods() );
}

TEST_F( HostServicesTest, PollerThatHasNotPolledCountsFirst ) {
    const Poller quick( 1 );
    {
        const Poller slow( 60000 );
        host().runFor( 5 );
        EXPECT_FALSE( host().lastPoll() );
    }
    EXPECT_TRUE( host().lastPoll() );
}

TEST_F( HostServicesTest, PollerThatPolledLongestAgoCounts ) {
    const Poller first( 1 );
    host().runFor( 5 );
    const auto polledFirst = host().lastPoll();
    const Poller second( 1 );
    host().runFor( 5 );
    EXPECT_EQ( polledFirst, host().lastPoll() );
    pl_timer_set( first.timer, 1 );
    host().runFor( 5 );
    EXPECT_GT( host().lastPoll(), polledFirst );
}
