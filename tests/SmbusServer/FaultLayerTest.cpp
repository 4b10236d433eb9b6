#include "SmbusServer/FaultLayer.h"
#include "SmbusServer/FaultScript.h"
#include "SmbusServer/Transaction.h"
#include "tests/support/DescribeBatch.h"
#include "tests/support/Requests.h"

#include <gtest/gtest.h>
#include <string>

using namespace Requests;
using namespace SmbusServer;

namespace {

/// A healthy board: reads give 1, 2, 3 …, a block is "block". Keeps what reached it.
class HealthyBackend : public Backend {
  public:
    Cause perform( const Operation &operation, std::string &read ) override {
        Smbus::TransactionRequest tried;
        *tried.add_request() = request( operation.type, operation.chip, operation.reg,
                                        operation.length, std::string( operation.data ) );
        log += ( log.empty() ? "" : " | " ) + describe( tried );
        if ( operation.type == Smbus::BLOCK_READ ) {
            read = "block";
        } else if ( operation.isRead() || operation.type == Smbus::PROCESS_CALL ) {
            read.clear();
            for ( uint32_t i = 0; i < std::max( operation.length, 1u ); ++i ) {
                read += static_cast<char>( '1' + i );
            }
        }
        return Cause::None;
    }
    bool severalAccelerators( const BusName & ) const override { return false; }

    std::string log;
};

class FaultLayerTest : public testing::Test {
  protected:
    void fault( std::string_view line ) { ASSERT_TRUE( faults.add( parseFault( line ) ) ); }

    /// The answers in quotes with a blank between them, or the error.
    std::string perform( Smbus::TransactionRequest batch, uint32_t retries = 0 ) {
        batch.set_retries( retries );
        Smbus::TransactionResponse response;
        transaction.perform( batch, response );
        std::string text;
        for ( const Smbus::Response &each : response.response() ) {
            text += ( text.empty() ? "'" : " '" ) + each.data() + "'";
        }
        return response.failed() ? response.error() : text;
    }

    HealthyBackend healthy;
    FaultList faults;
    FaultLayer layer{ healthy, faults };
    Transaction transaction{ layer };
};

} // namespace

TEST_F( FaultLayerTest, WithoutFaultsNothingChanges ) {
    EXPECT_EQ( "'12' 'block'",
               perform( batch( { readBytes( 0x48, 0, 2 ), blockRead( 0x48, 0 ) } ) ) );
}

TEST_F( FaultLayerTest, NackKeepsTheRequestFromTheChip ) {
    fault( "fault bus 0 chip 0x48 nack" );
    EXPECT_EQ( "bus 0 chip 0x48 reg 0x00: no acknowledge",
               perform( batch( { readBytes( 0x48, 0, 2 ) } ) ) );
    EXPECT_EQ( "", healthy.log );
    EXPECT_EQ( "'12'", perform( batch( { readBytes( 0x49, 0, 2 ) } ) ) );
}

TEST_F( FaultLayerTest, FaultHitsFromTheNthOnAndSoOften ) {
    fault( "fault bus 0 chip 0x48 nack at 2 count 2" );
    const auto read = batch( { readBytes( 0x48, 0, 1 ) } );
    EXPECT_EQ( "'1'", perform( read ) );
    EXPECT_NE( "'1'", perform( read ) );
    EXPECT_NE( "'1'", perform( read ) );
    EXPECT_EQ( "'1'", perform( read ) );
}

TEST_F( FaultLayerTest, RetryIsARequestToo ) {
    fault( "fault bus 0 chip 0x48 nack count 2" );
    EXPECT_EQ( "'1'", perform( batch( { readBytes( 0x48, 0, 1 ) } ), 2 ) );
}

TEST_F( FaultLayerTest, TimeOutIsToldApart ) {
    fault( "fault bus 0 reg 0x07 time-out count 1" );
    EXPECT_EQ( "bus 0 chip 0x48 reg 0x07: time-out",
               perform( batch( { readBytes( 0x48, 0, 1 ), writeBytes( 0x48, 7, "a" ) } ) ) );
}

TEST_F( FaultLayerTest, StuckBusAnswersNobody ) {
    fault( "fault bus 0 chip 0x48 stuck" );
    EXPECT_EQ( "'1'", perform( batch( { readBytes( 0x49, 0, 1 ) } ) ) );
    EXPECT_EQ( "bus 0 chip 0x48 reg 0x00: time-out",
               perform( batch( { readBytes( 0x48, 0, 1 ) } ) ) );
    EXPECT_EQ( "bus 0 chip 0x49 reg 0x00: time-out",
               perform( batch( { readBytes( 0x49, 0, 1 ) } ) ) );
    faults.clear();
    EXPECT_EQ( "'1'", perform( batch( { readBytes( 0x49, 0, 1 ) } ) ) );
}

TEST_F( FaultLayerTest, OtherBussesAreNotStuck ) {
    fault( "fault bus 1 stuck" );
    EXPECT_EQ( "'1'", perform( batch( { readBytes( 0x48, 0, 1 ) } ) ) );
}

TEST_F( FaultLayerTest, ReadsAreEmptyShortOrLong ) {
    fault( "fault bus 0 chip 1 empty-read" );
    fault( "fault bus 0 chip 2 short-read" );
    fault( "fault bus 0 chip 3 long-read" );
    fault( "fault bus 0 chip 4 ones" );
    EXPECT_EQ( "'' '1' '12\xff' '\xff\xff'",
               perform( batch( { readBytes( 1, 0, 2 ), readBytes( 2, 0, 2 ), readBytes( 3, 0, 2 ),
                                 readBytes( 4, 0, 2 ) } ) ) );
}

TEST_F( FaultLayerTest, ProcessCallIsAReadToo ) {
    fault( "fault bus 0 short-read" );
    EXPECT_EQ( "'1'", perform( batch( { processCall( 0x48, 0, "ab" ) } ) ) );
}

TEST_F( FaultLayerTest, BlocksAreEmptyShortOrLong ) {
    fault( "fault bus 0 chip 1 empty-block" );
    fault( "fault bus 0 chip 2 short-block" );
    fault( "fault bus 0 chip 3 long-block" );
    EXPECT_EQ( "'' 'bloc' 'block\xff'",
               perform( batch( { blockRead( 1, 0 ), blockRead( 2, 0 ), blockRead( 3, 0 ) } ) ) );
}

TEST_F( FaultLayerTest, WrongCountFailsABlockRead ) {
    fault( "fault bus 0 bad-count count 1" );
    fault( "fault bus 0 chip 2 ones" );
    EXPECT_EQ( "bus 0 chip 0x01 reg 0x00: the block's count is wrong",
               perform( batch( { blockRead( 1, 0 ) } ) ) );
    EXPECT_EQ( "bus 0 chip 0x02 reg 0x00: the block's count is wrong",
               perform( batch( { blockRead( 2, 0 ) } ) ) );
}

TEST_F( FaultLayerTest, WritesAreNotSpoiledLikeReads ) {
    fault( "fault bus 0 empty-read" );
    fault( "fault bus 0 ones" );
    EXPECT_EQ( "'ab'", perform( batch( { writeBytes( 0x48, 0, "ab" ) } ) ) );
}

TEST_F( FaultLayerTest, MuxThatDoesNotSelectAcknowledges ) {
    fault( "fault bus 0 chip 0x70 no-select" );
    perform( batch( { sendByte( 0x70, 1 ), readBytes( 0x48, 0, 1 ), sendByte( 0x70, 0 ) } ) );
    EXPECT_EQ( "48[00]x1 | 70=00", healthy.log );
}

TEST_F( FaultLayerTest, MuxThatDoesNotLetGoFailsTheBatch ) {
    fault( "fault bus 0 chip 0x70 no-release" );
    EXPECT_EQ( "bus 0 chip 0x70 reg 0x00: no acknowledge",
               perform( batch( { sendByte( 0x70, 1 ), sendByte( 0x70, 0 ) } ) ) );
    EXPECT_EQ( "70=01", healthy.log );
}

TEST_F( FaultLayerTest, FirstOfTwoFaultsActsAndBothCount ) {
    fault( "fault bus 0 nack count 1" );
    fault( "fault bus 0 time-out count 2" );
    const auto read = batch( { readBytes( 0x48, 0, 1 ) } );
    EXPECT_EQ( "bus 0 chip 0x48 reg 0x00: no acknowledge", perform( read ) );
    EXPECT_EQ( "bus 0 chip 0x48 reg 0x00: time-out", perform( read ) );
    EXPECT_EQ( "'1'", perform( read ) );
    EXPECT_EQ( "1 hits 1: bus 0 nack count 1\n2 hits 2: bus 0 time-out count 2\n", faults.list() );
}
