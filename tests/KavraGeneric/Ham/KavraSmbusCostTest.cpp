// What a batch costs the host's thread: calls of the system and of the heap.
#include "tests/KavraGeneric/Ham/SmbusHamFixture.h"
#include "tests/KavraUtil/CallCounter.h"

#include <memory>

namespace {

class KavraSmbusCostTest : public SmbusHamFixture {
  protected:
    /// Leaves in calls_ and allocations_ what a warm batch of the operations costs. Each batch
    /// fetches nothing: a fetched block is the caller's.
    void count( const std::function<void()> &queue ) {
        host().traceDropped = true;
        for ( int i = 0; i < 3; ++i ) {
            calls_.restart();
            const int before = CallCounter::allocationsOfThisThread();
            ham().prepare();
            queue();
            const int status = ham().execute();
            allocations_ = CallCounter::allocationsOfThisThread() - before;
            ASSERT_EQ( 0, status );
        }
    }

    void countReads( unsigned reads ) {
        count( [&] {
            for ( unsigned reg = 0; reg < reads; ++reg ) {
                ham().addRead8( reg );
            }
        } );
        ASSERT_LE( static_cast<int>( reads ), lastRequest().request_size() );
    }

    /// What a fresh message and its parsing allocate for the healthy answer to the last batch,
    /// which has a byte for each that was read or written.
    int allocationsOfTheAnswer() const {
        const Smbus::TransactionRequest batch = lastRequest();
        Smbus::TransactionResponse healthy;
        for ( const Smbus::Request &request : batch.request() ) {
            Smbus::Response *response = healthy.add_response();
            if ( request.length() > 0 ) {
                response->set_data( std::string( request.length(), '\0' ) );
            }
        }
        const std::string body = healthy.SerializeAsString();
        const int before = CallCounter::allocationsOfThisThread();
        auto fresh = std::make_unique<Smbus::TransactionResponse>();
        fresh->mutable_response()->Reserve( batch.request_size() );
        fresh->ParseFromArray( body.data(), static_cast<int>( body.size() ) );
        return CallCounter::allocationsOfThisThread() - before;
    }

    CallCounter &calls_ = CallCounter::ofThisThread();
    int allocations_ = 0;
};

TEST_F( KavraSmbusCostTest, OneSendAndOneReceivePerBatch ) {
    for ( const std::vector<MuxPlace> &muxes :
          { std::vector<MuxPlace>{}, { mux( 0x70, 0x01 ), mux( 0x71, 0x08 ) } } ) {
        deviceBehind( muxes, 0x48 );
        for ( const unsigned operations : { 1U, 64U } ) {
            countReads( operations );
            EXPECT_EQ( 1, calls_.sends ) << operations;
            EXPECT_EQ( 1, calls_.receives ) << operations;
            EXPECT_EQ( 0, calls_.connects + calls_.otherSocketCalls ) << operations;
        }
    }
}

TEST_F( KavraSmbusCostTest, WarmBatchAllocatesTheAnswerAlone ) {
    deviceOnBus( 0x48 );
    for ( const unsigned reads : { 1U, 2U, 7U, 64U, 200U } ) {
        countReads( reads );
        EXPECT_LT( 0, allocations_ ) << reads;
        EXPECT_EQ( allocationsOfTheAnswer(), allocations_ ) << reads;
    }
}

TEST_F( KavraSmbusCostTest, BatchOfReadsKeepsItsLimit ) {
    deviceOnBus( 0x48 );
    unsigned logarithm = 0;
    for ( unsigned reads = 1; reads <= 256; reads *= 2, ++logarithm ) {
        countReads( reads );
        EXPECT_GE( static_cast<int>( 2 * reads + logarithm + 3 ), allocations_ ) << reads;
    }
}

TEST_F( KavraSmbusCostTest, FramedBatchAllocatesTheAnswerAlone ) {
    deviceBehind( { mux( 0x70, 0x01 ), mux( 0x71, 0x08 ) }, 0x48 );
    count( [&] { ham().addRead16( 0 ); } );
    EXPECT_EQ( allocationsOfTheAnswer(), allocations_ );
}

TEST_F( KavraSmbusCostTest, WarmWritesAllocateTheAnswerAlone ) {
    deviceOnBus( 0x48 );
    const std::string data( 200, 'x' );
    count( [&] {
        ham().addWrite8( 1, 0xAA, false );
        ham().addWrite16( 2, 0xAAAA, false );
        ham().addWrite( 3, data.data(), 200, false );
        ham().addWriteBlock( 4, data.data(), 32, false );
    } );
    EXPECT_EQ( allocationsOfTheAnswer(), allocations_ );
}

TEST_F( KavraSmbusCostTest, FetchingANumberAllocatesNothing ) {
    deviceOnBus( 0x48 );
    countReads( 2 );
    const int before = CallCounter::allocationsOfThisThread();
    ham().get8( 0 );
    ham().get8( 1 );
    EXPECT_EQ( before, CallCounter::allocationsOfThisThread() );
}

} // namespace
