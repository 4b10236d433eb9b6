#include "KavraGeneric/Components/PollingDevice.h"

#include "KavraGeneric/Components/HardwareDevice.h"
#include "tests/support/LibraryFixture.h"

#include <new>
#include <type_traits>

namespace {

using Polling = Component::PollingDevice<Component::HardwareDevice>;
using Lines = std::vector<FakeHost::Line>;

// Makes its timer as a driver does.
class Poller final : public Polling {
  public:
    explicit Poller( uint32_t period ) {
        pollPeriod_ = period;
        pollTimer_ = pl_timer_add( handlePollTimerCallback, static_cast<Polling *>( this ) );
    }

    void pollCallback() override {
        ++pollCount;
        pl_trace( 6, "polled" );
        armedDuringPoll = FakeHost::get().timers.front()->armed;
        if ( memoryIsOut ) {
            throw std::bad_alloc();
        }
    }

    using Polling::pollArmed_;
    using Polling::pollStart;
    int pollCount = 0;
    bool armedDuringPoll = true;
    bool memoryIsOut = false;
};

class PollingDeviceTest : public LibraryFixture {
  protected:
    static FakeHost::Timer &timer() { return *host().timers.front(); }
    static void tick() { host().tick( timer() ); }
    static void start( Poller &poller ) {
        poller.pollStart();
        host().lines.clear();
    }
};

TEST_F( PollingDeviceTest, TickPollsOnceAndArmsTheTimerAgain ) {
    Poller poller( 3000 );
    start( poller );
    tick();
    EXPECT_EQ( 1, poller.pollCount );
    EXPECT_EQ( ( std::vector<int>{ 3000, 3000 } ), timer().periods );
    EXPECT_TRUE( timer().armed );
}

TEST_F( PollingDeviceTest, TimerIsArmedAfterThePoll ) {
    Poller poller( 3000 );
    start( poller );
    tick();
    EXPECT_FALSE( poller.armedDuringPoll );
}

TEST_F( PollingDeviceTest, TickIsTracedBeforeThePoll ) {
    Poller poller( 3000 );
    start( poller );
    tick();
    EXPECT_EQ( ( Lines{ { 6, "pollCallbackWrapper" }, { 6, "polled" } } ), host().lines );
}

TEST_F( PollingDeviceTest, StartArmsTheTimerAndSetsTheFlag ) {
    Poller poller( 3000 );
    EXPECT_FALSE( poller.pollArmed_ );
    EXPECT_TRUE( poller.pollStart() );
    EXPECT_TRUE( poller.pollArmed_ );
    EXPECT_EQ( std::vector<int>{ 3000 }, timer().periods );
    EXPECT_EQ( 0, poller.pollCount );
    EXPECT_EQ( ( Lines{ { 0, "setting polling interval to 3000ms" } } ), host().lines );
}

TEST_F( PollingDeviceTest, StartThatFailsIsTracedAndLeavesTheFlag ) {
    Poller poller( 3000 );
    host().timerSetFails = true;
    EXPECT_FALSE( poller.pollStart() );
    EXPECT_FALSE( poller.pollArmed_ );
    EXPECT_EQ( ( Lines{ { 0, "setting polling interval to 3000ms" },
                        { 0, "failed to set timer interval" } } ),
               host().lines );
}

TEST_F( PollingDeviceTest, DeviceWithoutATimerCannotStart ) {
    host().timerAddFails = true;
    Poller poller( 3000 );
    EXPECT_FALSE( poller.pollStart() );
    EXPECT_EQ( "failed to set timer interval", host().texts( 0 ).back() );
}

TEST_F( PollingDeviceTest, PollThatThrowsIsFollowedByTheNext ) {
    Poller poller( 3000 );
    start( poller );
    poller.memoryIsOut = true;
    EXPECT_THROW( tick(), std::bad_alloc );
    EXPECT_TRUE( timer().armed );
    poller.memoryIsOut = false;
    tick();
    EXPECT_EQ( 2, poller.pollCount );
    EXPECT_TRUE( timer().armed );
}

TEST_F( PollingDeviceTest, FailedArmingEndsThePolling ) {
    Poller poller( 3000 );
    start( poller );
    host().timerSetFails = true;
    tick();
    EXPECT_EQ( 1, poller.pollCount );
    EXPECT_FALSE( timer().armed );
    EXPECT_EQ( ( Lines{ { 6, "pollCallbackWrapper" },
                        { 6, "polled" },
                        { 0, "failed to set timer interval" } } ),
               host().lines );
}

TEST_F( PollingDeviceTest, FailedArmingKeepsTheFlag ) {
    Poller poller( 3000 );
    start( poller );
    host().timerSetFails = true;
    tick();
    EXPECT_TRUE( poller.pollArmed_ );
}

TEST_F( PollingDeviceTest, TickThatArmsTheTimerSetsTheFlag ) {
    Poller poller( 3000 );
    start( poller );
    poller.pollArmed_ = false;
    tick();
    EXPECT_TRUE( poller.pollArmed_ );
}

TEST_F( PollingDeviceTest, EachDevicePollsOnItsOwnTimer ) {
    Poller first( 1000 );
    Poller second( 2000 );
    start( first );
    start( second );
    host().tick( *host().timers.back() );
    EXPECT_EQ( 0, first.pollCount );
    EXPECT_EQ( 1, second.pollCount );
    EXPECT_EQ( ( std::vector<int>{ 2000, 2000 } ), host().timers.back()->periods );
}

static_assert( std::is_abstract_v<Polling>, "the driver says what a poll does" );

} // namespace
