#include "SmbusServer/Transaction.h"
#include "tests/support/DescribeBatch.h"
#include "tests/support/Requests.h"

#include <gtest/gtest.h>
#include <map>
#include <string>

using namespace SmbusServer;
using namespace Requests;

namespace {

/// Reads give 0x19 0x80 …, writes are taken; a chip can be told to fail. Keeps what was tried, in
/// the words of describe().
class FakeBackend : public Backend {
  public:
    Cause perform( const Operation &operation, std::string &read ) override {
        Smbus::TransactionRequest tried;
        *tried.add_request() = request( operation.type, operation.chip, operation.reg,
                                        operation.length, std::string( operation.data ) );
        log += ( log.empty() ? "" : " | " ) + describe( tried );
        if ( failures[operation.chip] > 0 ) {
            --failures[operation.chip];
            return cause;
        }
        if ( operation.isRead() || operation.type == Smbus::PROCESS_CALL ) {
            read = operation.type == Smbus::BLOCK_READ ? "block" : std::string( "\x19\x80" );
            read.resize( std::max<size_t>( read.size(), operation.length ) );
        }
        pecSeen = pecSeen || operation.pec;
        return Cause::None;
    }
    bool severalAccelerators( const BusName & ) const override { return several; }

    std::map<unsigned, int> failures; ///< how many times each chip still fails
    Cause cause = Cause::NoAcknowledge;
    bool several = false;
    bool pecSeen = false;
    std::string log;
};

constexpr int forEver = 1'000'000;

} // namespace

class TransactionTest : public testing::Test {
  protected:
    void perform( Smbus::TransactionRequest request ) { transaction.perform( request, response ); }

    /// The answers as one line: data in quotes, "none" where there is none.
    std::string answers() const {
        std::string text;
        for ( const Smbus::Response &each : response.response() ) {
            text += ( text.empty() ? "" : " " ) +
                    ( each.has_data() ? "'" + each.data() + "'" : std::string( "none" ) );
        }
        return text;
    }

    FakeBackend backend;
    Transaction transaction{ backend };
    Smbus::TransactionResponse response;
};

TEST_F( TransactionTest, RequestsRunInOrderWithOneAnswerEach ) {
    perform( batch( { sendByte( 0x70, 1 ), writeBytes( 0x48, 3, "ab" ), blockRead( 0x48, 9 ),
                      blockWrite( 0x48, 9, "xyz" ), processCall( 0x48, 5, "pq" ),
                      sendByte( 0x70, 0 ) } ) );
    EXPECT_EQ( "70=01 | 48[03]=6162 | 48[09]xB | 48[09]=B:78797a | 48[05]P=7071 | 70=00",
               backend.log );
    EXPECT_EQ( "none 'ab' 'block' 'xyz' '\x19\x80' none", answers() );
    EXPECT_FALSE( response.failed() );
    EXPECT_FALSE( response.has_error() );
}

TEST_F( TransactionTest, EmptyBatchHasAnEmptyAnswer ) {
    perform( {} );
    EXPECT_EQ( 0, response.response_size() );
    EXPECT_FALSE( response.failed() );
}

TEST_F( TransactionTest, FailedRequestIsTriedThreeMoreTimes ) {
    backend.failures[0x48] = 3;
    perform( batch( { readBytes( 0x48, 0, 2 ) } ) );
    EXPECT_EQ( "48[00]x2 | 48[00]x2 | 48[00]x2 | 48[00]x2", backend.log );
    EXPECT_FALSE( response.failed() );
    EXPECT_EQ( "'\x19\x80'", answers() );
}

TEST_F( TransactionTest, FourthFailureFailsTheBatch ) {
    backend.failures[0x48] = 4;
    perform( batch( { readBytes( 0x48, 0, 2 ) } ) );
    EXPECT_TRUE( response.failed() );
    EXPECT_EQ( "bus 0 chip 0x48 reg 0x00: no acknowledge", response.error() );
}

TEST_F( TransactionTest, BatchSaysHowOftenToTryAgain ) {
    backend.failures[0x48] = forEver;
    Smbus::TransactionRequest request = batch( { readBytes( 0x48, 0, 2 ) } );
    request.set_retries( 0 );
    perform( request );
    EXPECT_EQ( "48[00]x2", backend.log );
    backend.log.clear();
    request.set_retries( 1 );
    perform( request );
    EXPECT_EQ( "48[00]x2 | 48[00]x2", backend.log );
}

TEST_F( TransactionTest, RetriesAreBounded ) {
    backend.failures[0x48] = forEver;
    Smbus::TransactionRequest request = batch( { readBytes( 0x48, 0, 2 ) } );
    request.set_retries( UINT32_MAX );
    perform( request );
    EXPECT_EQ( forEver - 101, backend.failures[0x48] );
}

TEST_F( TransactionTest, FailureStopsTheBatchAndKeepsTheAnswersBeforeIt ) {
    backend.failures[0x48] = forEver;
    Smbus::TransactionRequest request = batch(
        { writeBytes( 0x49, 1, "a" ), readBytes( 0x48, 0, 2 ), writeBytes( 0x49, 2, "b" ) } );
    request.set_retries( 0 );
    perform( request );
    EXPECT_EQ( "49[01]=61 | 48[00]x2", backend.log );
    EXPECT_EQ( "'a'", answers() );
    EXPECT_TRUE( response.failed() );
}

TEST_F( TransactionTest, FailureLeavesNoChannelOpen ) {
    backend.failures[0x48] = forEver;
    Smbus::TransactionRequest request =
        batch( { sendByte( 0x70, 1 ), sendByte( 0x71, 8 ), readBytes( 0x48, 0, 2 ),
                 writeBytes( 0x48, 1, "a" ), sendByte( 0x71, 0 ), sendByte( 0x70, 0 ) } );
    request.set_retries( 0 );
    perform( request );
    EXPECT_EQ( "70=01 | 71=08 | 48[00]x2 | 71=00 | 70=00", backend.log );
    EXPECT_EQ( "bus 0 mux 0x70=01 mux 0x71=08 chip 0x48 reg 0x00: no acknowledge",
               response.error() );
}

TEST_F( TransactionTest, OnlyTheRunOfZerosAtTheEndIsPerformedAfterAFailure ) {
    backend.failures[0x48] = forEver;
    Smbus::TransactionRequest request = batch( { readBytes( 0x48, 0, 2 ), sendByte( 0x71, 0 ),
                                                 sendByte( 0x72, 1 ), sendByte( 0x70, 0 ) } );
    request.set_retries( 0 );
    perform( request );
    EXPECT_EQ( "48[00]x2 | 70=00", backend.log );
}

TEST_F( TransactionTest, FailedDeselectDoesNotKeepTheOthersFromRunning ) {
    backend.failures[0x71] = forEver;
    Smbus::TransactionRequest request = batch( { sendByte( 0x70, 1 ), readBytes( 0x48, 0, 1 ),
                                                 sendByte( 0x71, 0 ), sendByte( 0x70, 0 ) } );
    request.set_retries( 0 );
    perform( request );
    EXPECT_EQ( "70=01 | 48[00]x1 | 71=00 | 70=00", backend.log );
    EXPECT_EQ( "bus 0 mux 0x70=01 chip 0x71 reg 0x00: no acknowledge", response.error() );
}

TEST_F( TransactionTest, FirstFailureIsTheOneReported ) {
    backend.failures[0x48] = forEver;
    backend.failures[0x70] = forEver;
    perform( batch( { readBytes( 0x48, 0, 1 ), sendByte( 0x70, 0 ) } ) );
    EXPECT_EQ( "bus 0 chip 0x48 reg 0x00: no acknowledge", response.error() );
}

TEST_F( TransactionTest, FailedSelectNamesTheMuxAsTheChip ) {
    backend.failures[0x71] = forEver;
    perform( batch( { sendByte( 0x70, 4 ), sendByte( 0x71, 8 ), readBytes( 0x48, 0, 1 ) } ) );
    EXPECT_EQ( "bus 0 mux 0x70=04 chip 0x71 reg 0x08: no acknowledge", response.error() );
}

TEST_F( TransactionTest, MuxThatHasLetGoIsNoPartOfThePath ) {
    backend.failures[0x48] = forEver;
    perform( batch( { sendByte( 0x70, 1 ), sendByte( 0x71, 2 ), sendByte( 0x71, 0 ),
                      sendByte( 0x70, 2 ), readBytes( 0x48, 0x1f, 1 ) } ) );
    EXPECT_EQ( "bus 0 mux 0x70=02 chip 0x48 reg 0x1f: no acknowledge", response.error() );
}

TEST_F( TransactionTest, AcceleratorIsNamedWhenItIsNot0OrNotTheOnlyOne ) {
    backend.failures[0x48] = forEver;
    Smbus::Request onAccelerator1 = readBytes( 0x48, 0, 1 );
    onAccelerator1.set_address( onAccelerator1.address() | uint64_t{ 1 } << 46 |
                                uint64_t{ 3 } << 39 );
    perform( batch( { onAccelerator1 } ) );
    EXPECT_EQ( "accelerator 1 bus 3 chip 0x48 reg 0x00: no acknowledge", response.error() );
    backend.several = true;
    perform( batch( { readBytes( 0x48, 0, 1 ) } ) );
    EXPECT_EQ( "accelerator 0 bus 0 chip 0x48 reg 0x00: no acknowledge", response.error() );
}

TEST_F( TransactionTest, UnknownBusIsNamedWholeAndTriedOnce ) {
    backend.failures[0x48] = forEver;
    backend.cause = Cause::NoSuchBus;
    Smbus::Request elsewhere = readBytes( 0x48, 0, 1 );
    elsewhere.set_mastertype( Smbus::SCD );
    elsewhere.set_pci( 768 );
    perform( batch( { elsewhere } ) );
    EXPECT_EQ( "bus 0 chip 0x48 reg 0x00: no such bus (master SCD, pci 0x00000300, "
               "accelerator 0)",
               response.error() );
    EXPECT_EQ( "48[00]x1", backend.log );
}

TEST_F( TransactionTest, FlagAsksForAPacketErrorCode ) {
    Smbus::Request checked = writeBytes( 0x48, 1, "a" );
    checked.set_flag( true );
    perform( batch( { checked } ) );
    EXPECT_TRUE( backend.pecSeen );
    EXPECT_FALSE( response.failed() );
}

TEST_F( TransactionTest, NothingOfAFailedBatchIsLeftInTheNextAnswer ) {
    backend.failures[0x48] = 4;
    perform( batch( { readBytes( 0x48, 0, 2 ) } ) );
    perform( batch( { sendByte( 0x48, 0 ) } ) );
    EXPECT_EQ( "none", answers() );
    EXPECT_FALSE( response.has_failed() );
    EXPECT_FALSE( response.has_error() );
}

TEST_F( TransactionTest, AnswerLargerThanAFrameFails ) {
    Smbus::TransactionRequest request;
    for ( int i = 0; i < 129; ++i ) {
        *request.add_request() = readBytes( 0x48, 0, 8192 );
    }
    perform( request );
    EXPECT_TRUE( response.failed() );
    EXPECT_EQ( "the answer is larger than a frame holds", response.error() );
    EXPECT_EQ( 0, response.response_size() );
}

/// Requests that no bus sees.
// Only the chip knows how long a block is.
TEST_F( TransactionTest, BlocksThatAreLongerThanAFrameHoldsFail ) {
    Smbus::TransactionRequest blocks;
    for ( int i = 0; i < 200; ++i ) {
        *blocks.add_request() = request( Smbus::BLOCK_READ, 0x48, 0, 8192 );
    }
    perform( blocks );
    EXPECT_TRUE( response.failed() );
    EXPECT_EQ( "the answer is larger than a frame holds", response.error() );
    EXPECT_EQ( 0, response.response_size() );
}

class WrongRequestTest : public TransactionTest {
  protected:
    std::string errorOf( const Smbus::Request &request ) {
        perform( batch( { request } ) );
        EXPECT_EQ( "", backend.log );
        return response.error();
    }
};

TEST_F( WrongRequestTest, LengthAndDataMustAgree ) {
    const std::string expected =
        "bus 0 chip 0x48 reg 0x02: length and data of the request do not agree";
    EXPECT_EQ( expected, errorOf( request( Smbus::WRITE, 0x48, 2, 2, "a" ) ) );
    EXPECT_EQ( expected, errorOf( request( Smbus::WRITE, 0x48, 2, 0, "a" ) ) );
    EXPECT_EQ( expected, errorOf( request( Smbus::READ, 0x48, 2, 1, "a" ) ) );
    EXPECT_EQ( expected, errorOf( request( Smbus::BLOCK_WRITE, 0x48, 2, 3, "ab" ) ) );
    EXPECT_EQ( expected, errorOf( request( Smbus::PROCESS_CALL, 0x48, 2, 1, "a" ) ) );
    EXPECT_EQ( expected, errorOf( request( Smbus::PROCESS_CALL, 0x48, 2, 2, "a" ) ) );
}

TEST_F( WrongRequestTest, RegisterMustFitItsWidth ) {
    EXPECT_EQ( "bus 0 chip 0x48 reg 0x100: the register is too large for its width on the wires",
               errorOf( readBytes( 0x48, 0x100, 1 ) ) );
}

TEST_F( WrongRequestTest, TransferIsBounded ) {
    const std::string expected = "bus 0 chip 0x48 reg 0x00: too many bytes for one request";
    EXPECT_EQ( expected, errorOf( readBytes( 0x48, 0, 8193 ) ) );
    EXPECT_EQ( expected, errorOf( readBytes( 0x48, 0, UINT32_MAX ) ) );
    EXPECT_EQ( expected, errorOf( blockWrite( 0x48, 0, std::string( 33, 'a' ) ) ) );
}

TEST_F( WrongRequestTest, UnknownTypeIsNotTakenForARead ) {
    Smbus::Request later;
    ASSERT_TRUE( later.ParseFromString( "\x18\x07" ) ); // type 7
    EXPECT_EQ( "bus 0 chip 0x00 reg 0x00: unknown request type or master type", errorOf( later ) );
}
