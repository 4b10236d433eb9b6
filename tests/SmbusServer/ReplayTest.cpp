#include "SmbusServer/FaultLayer.h"
#include "SmbusServer/FaultScript.h"
#include "SmbusServer/ReplayBackend.h"
#include "SmbusServer/Transaction.h"
#include "tests/SmbusServer/TemporaryFile.h"
#include "tests/support/Requests.h"

#include <gtest/gtest.h>
#include <string>

using namespace Requests;
using namespace SmbusServer;

namespace {

class ReplayTest : public testing::Test {
  protected:
    /// Adds a batch of one request and what it read.
    void recorded( const Smbus::Request &request, const std::string &data ) {
        Recording::Entry entry;
        *entry.mutable_request() = batch( { request } );
        entry.mutable_response()->add_response()->set_data( data );
        RecordingWriter( file.path() ).write( entry );
    }
    void recordedFailure( const Smbus::Request &request, const std::string &error ) {
        Recording::Entry entry;
        *entry.mutable_request() = batch( { request } );
        entry.mutable_response()->set_failed( true );
        entry.mutable_response()->set_error( error );
        RecordingWriter( file.path() ).write( entry );
    }

    void replay() { backend.emplace( file.path() ); }

    /// The data of the first answer, or the error.
    std::string ask( const Smbus::TransactionRequest &request ) {
        FaultLayer layer( *backend, faults );
        Transaction transaction( layer );
        Smbus::TransactionResponse response;
        transaction.perform( request, response );
        return response.failed() ? response.error() : response.response( 0 ).data();
    }
    std::string ask( const Smbus::Request &request ) { return ask( batch( { request } ) ); }

    const TemporaryFile file;
    FaultList faults;
    std::optional<ReplayBackend> backend;
};

const Smbus::Request left = readBytes( 0x48, 0, 1 );
const Smbus::Request right = readBytes( 0x49, 0, 1 );

} // namespace

TEST_F( ReplayTest, AnswersInOrder ) {
    recorded( left, "a" );
    recorded( right, "b" );
    recorded( left, "c" );
    replay();
    EXPECT_EQ( "a", ask( left ) );
    EXPECT_EQ( "b", ask( right ) );
    EXPECT_EQ( "c", ask( left ) );
}

TEST_F( ReplayTest, AnswersByContentWhereTheOrderDiffers ) {
    recorded( left, "a" );
    recorded( right, "b" );
    recorded( left, "c" );
    replay();
    EXPECT_EQ( "b", ask( right ) );
    EXPECT_EQ( "a", ask( left ) );
    EXPECT_EQ( "c", ask( left ) );
}

TEST_F( ReplayTest, LastAnswerStays ) {
    recorded( left, "a" );
    recorded( left, "b" );
    replay();
    ask( left );
    EXPECT_EQ( "b", ask( left ) );
    EXPECT_EQ( "b", ask( left ) );
}

TEST_F( ReplayTest, FailureIsRepeatedInItsOwnWords ) {
    recordedFailure( left, "bus 9 chip 0x48 reg 0x00: no acknowledge" );
    recorded( left, "a" );
    replay();
    EXPECT_EQ( "bus 9 chip 0x48 reg 0x00: no acknowledge", ask( left ) );
    EXPECT_EQ( "a", ask( left ) );
}

TEST_F( ReplayTest, NumberOfRetriesIsNoPartOfTheContent ) {
    recorded( left, "a" );
    replay();
    auto request = batch( { left } );
    request.set_retries( 0 );
    EXPECT_EQ( "a", ask( request ) );
}

TEST_F( ReplayTest, UnknownBatchIsAnsweredWithTheNearest ) {
    recorded( readBytes( 0x20, 0, 1 ), "x" );
    recorded( readBytes( 0x48, 1, 1 ), "y" );
    replay();
    EXPECT_EQ( "not in the recording: I2C pci 0x00000000 accelerator 0 bus 0: 48[00]x1; the "
               "nearest there, entry 2: I2C pci 0x00000000 accelerator 0 bus 0: 48[01]x1",
               ask( left ) );
}

TEST_F( ReplayTest, EmptyRecordingKnowsNothing ) {
    file.write( "kavra-smbusd recording 1\n" );
    replay();
    EXPECT_TRUE( ask( left ).ends_with( "48[00]x1; it is empty" ) );
}

TEST_F( ReplayTest, EntryWithTooFewAnswersFails ) {
    Recording::Entry entry;
    *entry.mutable_request() = batch( { left } );
    RecordingWriter( file.path() ).write( entry );
    replay();
    EXPECT_EQ( "bus 0 chip 0x48 reg 0x00: no acknowledge", ask( left ) );
}

// What the server itself does to a mux between two batches is in no recording.
TEST_F( ReplayTest, OperationThatNoBatchAskedForSucceeds ) {
    recordedFailure( left, "no acknowledge" );
    replay();
    const Smbus::Request deselect = sendByte( 0x70, 0 );
    std::string read;
    EXPECT_EQ( Cause::None, backend->perform( decode( deselect ), read ) );
}

TEST_F( ReplayTest, FaultsActOnAReplayToo ) {
    recorded( left, "a" );
    replay();
    faults.add( parseFault( "fault bus 0 chip 0x48 nack count 4" ) );
    EXPECT_EQ( "bus 0 chip 0x48 reg 0x00: no acknowledge", ask( left ) );
    EXPECT_EQ( "a", ask( left ) );
}
