#include "SmbusServer/BusWorkers.h"

#include "tests/support/Requests.h"
#include "tests/support/Sanitized.h"

#include <algorithm>
#include <condition_variable>
#include <functional>
#include <gtest/gtest.h>
#include <mutex>
#include <set>
#include <stdexcept>
#include <string>
#include <sys/resource.h>
#include <vector>

using namespace SmbusServer;
using namespace Requests;

namespace {

/// Reads give the chip's address. A bus can be made to hang; two operations on one bus at a time
/// are noticed.
class HangingBackend : public Backend {
  public:
    Cause perform( const Operation &operation, std::string &read ) override {
        std::unique_lock lock( mutex_ );
        overlapped = overlapped || !inUse_.insert( operation.bus.bus ).second;
        log.push_back( std::to_string( operation.bus.bus ) + ":" +
                       std::to_string( operation.chip ) );
        changed_.notify_all();
        changed_.wait( lock, [&] { return !hanging_.contains( operation.bus.bus ); } );
        inUse_.erase( operation.bus.bus );
        read = std::string( 1, static_cast<char>( operation.chip ) );
        return Cause::None;
    }
    bool severalAccelerators( const BusName & ) const override { return false; }

    void hang( uint8_t bus, bool hangs ) {
        const std::lock_guard lock( mutex_ );
        if ( hangs ) {
            hanging_.insert( bus );
        } else {
            hanging_.erase( bus );
        }
        changed_.notify_all();
    }
    /// Until this many operations have begun.
    void waitFor( size_t operations ) {
        std::unique_lock lock( mutex_ );
        changed_.wait( lock, [&] { return log.size() >= operations; } );
    }

    std::vector<std::string> log; ///< bus:chip, as they began
    bool overlapped = false;

  private:
    std::mutex mutex_;
    std::condition_variable changed_;
    std::set<uint8_t> hanging_;
    std::set<uint8_t> inUse_;
};

struct Waiter : Performer::Client {
    void performed( const Smbus::TransactionResponse &response ) override {
        ++answers;
        answer = response;
    }
    void hangUp( bool ) override {}
    int answers = 0;
    Smbus::TransactionResponse answer;
};

Smbus::Request onBus( unsigned bus, unsigned chip ) {
    Smbus::Request request = readBytes( chip, 0, 1 );
    request.set_address( request.address() | uint64_t{ bus } << 39 );
    return request;
}

class BusWorkersTest : public testing::Test {
  protected:
    static EventLoop newLoop() {
        sd_event *made = nullptr;
        sd_event_new( &made );
        return EventLoop( made );
    }
    void perform( Waiter &waiter, std::initializer_list<Smbus::Request> requests ) {
        Smbus::TransactionRequest request = batch( requests );
        ASSERT_FALSE( workers.perform( request, direct, waiter ) );
    }
    void runUntil( const std::function<bool()> &condition ) {
        while ( !condition() ) {
            ASSERT_GT( sd_event_run( loop.get(), 10'000'000 ), 0 );
        }
    }

    HangingBackend backend;
    EventLoop loop = newLoop();
    BusWorkers workers{ loop.get(), backend, []( const BusName &bus ) { return bus.bus % 10u; } };
    Smbus::TransactionResponse direct;
    Waiter first;
    Waiter second;
    Waiter third;
};

TEST_F( BusWorkersTest, AnswerComesFromTheEventLoop ) {
    perform( first, { onBus( 1, 0x41 ), onBus( 1, 0x42 ) } );
    EXPECT_EQ( 0, first.answers );
    runUntil( [&] { return first.answers == 1; } );
    EXPECT_EQ( "\x41", first.answer.response( 0 ).data() );
    EXPECT_EQ( "\x42", first.answer.response( 1 ).data() );
}

TEST_F( BusWorkersTest, EmptyBatchIsAnsweredAtOnce ) {
    Smbus::TransactionRequest request;
    EXPECT_TRUE( workers.perform( request, direct, first ) );
    EXPECT_FALSE( direct.failed() );
}

TEST_F( BusWorkersTest, BusThatHangsDelaysOnlyItsUsers ) {
    backend.hang( 1, true );
    perform( first, { onBus( 1, 0x41 ) } );
    perform( second, { onBus( 1, 0x42 ) } );
    perform( third, { onBus( 2, 0x43 ) } );
    runUntil( [&] { return third.answers == 1; } );
    EXPECT_EQ( 0, first.answers + second.answers );
    backend.hang( 1, false );
    runUntil( [&] { return first.answers + second.answers == 2; } );
    EXPECT_FALSE( backend.overlapped );
}

TEST_F( BusWorkersTest, BusServesInTheOrderOfArrival ) {
    backend.hang( 1, true );
    perform( first, { onBus( 1, 1 ) } );
    perform( second, { onBus( 1, 2 ) } );
    perform( third, { onBus( 1, 3 ) } );
    backend.hang( 1, false );
    runUntil( [&] { return third.answers == 1; } );
    EXPECT_EQ( ( std::vector<std::string>{ "1:1", "1:2", "1:3" } ), backend.log );
}

TEST_F( BusWorkersTest, NamesOfTheSameWiresShareALane ) {
    backend.hang( 1, true );
    perform( first, { onBus( 1, 1 ) } );
    perform( second, { onBus( 11, 2 ) } );
    perform( third, { onBus( 2, 3 ) } );
    runUntil( [&] { return third.answers == 1; } );
    EXPECT_EQ( 0, std::ranges::count( backend.log, "11:2" ) );
    backend.hang( 1, false );
    runUntil( [&] { return second.answers == 1; } );
}

TEST_F( BusWorkersTest, BatchOnTwoBussesHasBothAndIsNotOvertaken ) {
    backend.hang( 1, true );
    perform( first, { onBus( 1, 1 ) } );
    perform( second, { onBus( 2, 2 ), onBus( 1, 3 ) } );
    perform( third, { onBus( 2, 4 ) } );
    backend.waitFor( 1 );
    backend.hang( 1, false );
    runUntil( [&] { return third.answers == 1; } );
    EXPECT_EQ( ( std::vector<std::string>{ "1:1", "2:2", "1:3", "2:4" } ), backend.log );
}

TEST_F( BusWorkersTest, BatchOfAClientThatLeftEndsIfItHasBegun ) {
    backend.hang( 1, true );
    perform( first, { onBus( 1, 1 ), onBus( 1, 2 ) } );
    perform( second, { onBus( 1, 3 ) } );
    perform( third, { onBus( 1, 4 ) } );
    backend.waitFor( 1 );
    workers.forget( first );
    workers.forget( second );
    backend.hang( 1, false );
    runUntil( [&] { return third.answers == 1; } );
    EXPECT_EQ( 0, first.answers + second.answers );
    EXPECT_EQ( ( std::vector<std::string>{ "1:1", "1:2", "1:4" } ), backend.log );
}

TEST_F( BusWorkersTest, FinishEndsWhatHasBegunAndDropsTheRest ) {
    perform( first, { onBus( 1, 1 ), onBus( 1, 2 ) } );
    perform( second, { onBus( 1, 3 ) } );
    workers.finish();
    EXPECT_EQ( 1, first.answers );
    EXPECT_EQ( 2, first.answer.response_size() );
    EXPECT_EQ( 0, second.answers );
}

TEST_F( BusWorkersTest, ChangeWaitsUntilNoBatchRunsAndHoldsOthersBack ) {
    std::vector<std::string> seen;
    backend.hang( 1, true );
    perform( first, { onBus( 1, 1 ) } );
    backend.waitFor( 1 );
    workers.whenIdle( [&] { seen = backend.log; } );
    perform( second, { onBus( 2, 2 ) } );
    EXPECT_TRUE( seen.empty() );
    backend.hang( 1, false );
    runUntil( [&] { return second.answers == 1; } );
    EXPECT_EQ( std::vector<std::string>{ "1:1" }, seen );
}

TEST_F( BusWorkersTest, ChangeHappensAtOnceWhenNothingRuns ) {
    bool called = false;
    workers.whenIdle( [&] { called = true; } );
    EXPECT_TRUE( called );
}

TEST_F( BusWorkersTest, WaitingBatchesAreBoundedInMemory ) {
    backend.hang( 1, true );
    perform( first, { onBus( 1, 1 ) } );
    Smbus::TransactionRequest large;
    large.add_request()->set_data( std::string( BusWorkers::mostWaitingBytes, 'a' ) );
    EXPECT_TRUE( workers.perform( large, direct, second ) );
    EXPECT_EQ( "too many batches wait for their busses", direct.error() );
    backend.hang( 1, false );
    runUntil( [&] { return first.answers == 1; } );
}

TEST_F( BusWorkersTest, AreNotMadeWithoutADescriptorToWakeTheLoop ) {
    if ( isSanitized ) {
        GTEST_SKIP() << descriptorsAreTaken;
    }
    rlimit before = {};
    ASSERT_EQ( 0, getrlimit( RLIMIT_NOFILE, &before ) );
    const rlimit none = { 0, before.rlim_max };
    ASSERT_EQ( 0, setrlimit( RLIMIT_NOFILE, &none ) );
    std::string why;
    try {
        BusWorkers( loop.get(), backend, []( const BusName & ) { return size_t{ 0 }; } );
    } catch ( const std::runtime_error &error ) {
        why = error.what();
    }
    setrlimit( RLIMIT_NOFILE, &before );
    EXPECT_EQ( "the bus workers cannot be watched: Too many open files", why );
}

} // namespace
