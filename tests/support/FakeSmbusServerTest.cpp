#include "tests/support/FakeSmbusServer.h"

#include "KavraUtil/PLSocket.h"
#include "tests/support/DescribeBatch.h"
#include "tests/support/Requests.h"

#include <cstdlib>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <memory>

namespace {

using namespace Requests;
using testing::ElementsAre;

class FakeSmbusServerTest : public testing::Test, protected FakeSmbusServer {
  protected:
    /// What came back, an entry each: its bytes in hexadecimal, "-" for one without data.
    std::vector<std::string> ask( Smbus::TransactionRequest request ) {
        Smbus::TransactionResponse *received = nullptr;
        status_ = client_.sendRequestWait( &request, &received );
        response_.reset( received );
        std::vector<std::string> entries;
        for ( int i = 0; received != nullptr && i < received->response_size(); ++i ) {
            const Smbus::Response &entry = received->response( i );
            entries.push_back( entry.has_data() ? hex( entry.data() ) : "-" );
        }
        return entries;
    }

    static std::string hex( const std::string &data ) {
        std::string text;
        for ( const char byte : data ) {
            const auto value = static_cast<unsigned char>( byte );
            text += "0123456789abcdef"[value >> 4];
            text += "0123456789abcdef"[value & 0xf];
        }
        return text;
    }

    PlatformLibrary::PLSocket client_;
    int status_ = 0;
    std::unique_ptr<Smbus::TransactionResponse> response_;
};

TEST( DescribeBatchTest, WritesEachRequestInItsOwnWay ) {
    EXPECT_EQ( "70=01", describe( batch( { sendByte( 0x70, 1 ) } ) ) );
    EXPECT_EQ( "48[]", describe( batch( { receiveByte( 0x48 ) } ) ) );
    EXPECT_EQ( "48[00]x2", describe( batch( { readBytes( 0x48, 0, 2 ) } ) ) );
    EXPECT_EQ( "48[01]=6080", describe( batch( { writeBytes( 0x48, 1, "\x60\x80" ) } ) ) );
    EXPECT_EQ( "58[99]xB", describe( batch( { blockRead( 0x58, 0x99 ) } ) ) );
    EXPECT_EQ( "58[99]=B:4142", describe( batch( { blockWrite( 0x58, 0x99, "AB" ) } ) ) );
    EXPECT_EQ( "58[30]P=3412", describe( batch( { processCall( 0x58, 0x30, "\x34\x12" ) } ) ) );
}

TEST( DescribeBatchTest, WritesAWideRegisterWhole ) {
    EXPECT_EQ( "50[1234]x1", describe( batch( { readBytes( 0x50, 0x1234, 1 ) } ) ) );
}

TEST( DescribeBatchTest, SeparatesRequests ) {
    EXPECT_EQ( "", describe( batch( {} ) ) );
    EXPECT_EQ( "70=01 | 48[00]x1 | 70=00",
               describe( batch(
                   { sendByte( 0x70, 1 ), readBytes( 0x48, 0, 1 ), sendByte( 0x70, 0 ) } ) ) );
}

TEST_F( FakeSmbusServerTest, AnswersAsAHealthyBoardWithoutAScript ) {
    EXPECT_THAT(
        ask( batch( { sendByte( 0x70, 1 ), readBytes( 0x48, 0, 2 ), receiveByte( 0x48 ) } ) ),
        ElementsAre( "-", "0000", "00" ) );
    EXPECT_THAT(
        ask( batch( { writeBytes( 0x48, 1, "\x60\x80" ), blockWrite( 0x58, 0x99, "AB" ) } ) ),
        ElementsAre( "6080", "4142" ) );
    EXPECT_THAT( ask( batch( { blockRead( 0x58, 0x99 ), processCall( 0x58, 0x30, "\1\2" ) } ) ),
                 ElementsAre( "", "0000" ) );
}

TEST_F( FakeSmbusServerTest, AnswersFromTheScriptInOrderThenHealthyAgain ) {
    answer( { ok, bytes( 0x19, 0x80 ) } );
    answer( { text( "AB" ) } );
    EXPECT_THAT( ask( batch( { sendByte( 0x70, 1 ), readBytes( 0x48, 0, 2 ) } ) ),
                 ElementsAre( "-", "1980" ) );
    EXPECT_THAT( ask( batch( { blockRead( 0x58, 0x99 ) } ) ), ElementsAre( "4142" ) );
    EXPECT_THAT( ask( batch( { readBytes( 0x48, 0, 1 ) } ) ), ElementsAre( "00" ) );
}

TEST_F( FakeSmbusServerTest, AnswersAFailureWithItsText ) {
    answerFailed( "no acknowledge" );
    ask( batch( { readBytes( 0x48, 0, 1 ) } ) );
    EXPECT_TRUE( response_->failed() );
    EXPECT_EQ( "no acknowledge", response_->error() );
}

TEST_F( FakeSmbusServerTest, AnswersAFailureWithoutText ) {
    answerFailedWithoutText();
    ask( batch( { readBytes( 0x48, 0, 1 ) } ) );
    EXPECT_TRUE( response_->failed() );
    EXPECT_FALSE( response_->has_error() );
}

TEST_F( FakeSmbusServerTest, AnswersAnyNumberOfEntries ) {
    answerCount( 3 );
    EXPECT_EQ( 3U, ask( batch( { readBytes( 0x48, 0, 1 ) } ) ).size() );
    answerCount( 0 );
    EXPECT_EQ( 0U, ask( batch( { readBytes( 0x48, 0, 1 ) } ) ).size() );
    EXPECT_EQ( 0, status_ );
}

TEST_F( FakeSmbusServerTest, DropsAReply ) {
    dropReply();
    ask( batch( { readBytes( 0x48, 0, 1 ) } ) );
    EXPECT_GT( 0, status_ );
    EXPECT_EQ( "48[00]x1", lastBatch() );
}

TEST_F( FakeSmbusServerTest, StaysQuietForOneBatch ) {
    client_.answerLimit = std::chrono::milliseconds( 20 );
    stayQuiet();
    ask( batch( { readBytes( 0x48, 0, 1 ) } ) );
    EXPECT_GT( 0, status_ );
    client_.answerLimit = std::chrono::seconds( 10 );
    EXPECT_THAT( ask( batch( { readBytes( 0x48, 1, 1 ) } ) ), ElementsAre( "00" ) );
}

TEST_F( FakeSmbusServerTest, ShortensAReply ) {
    shortReply( 5 );
    ask( batch( { readBytes( 0x48, 0, 1 ) } ) );
    EXPECT_GT( 0, status_ );
}

TEST_F( FakeSmbusServerTest, SendsBytesInPlaceOfAFrame ) {
    rawReply( std::string( "\0\0\0\2\x0a\0", 6 ) );
    EXPECT_THAT( ask( batch( { readBytes( 0x48, 0, 1 ) } ) ), ElementsAre( "-" ) );
}

TEST_F( FakeSmbusServerTest, TricklesAWholeAnswer ) {
    trickleReply( std::chrono::milliseconds( 1 ) );
    EXPECT_THAT( ask( batch( { readBytes( 0x48, 0, 2 ) } ) ), ElementsAre( "0000" ) );
}

TEST_F( FakeSmbusServerTest, KeepsEveryBatch ) {
    Smbus::TransactionRequest first = batch( { readBytes( 0x48, 0, 1 ) } );
    first.set_retries( 0 );
    ask( first );
    EXPECT_TRUE( lastRequest().has_retries() );
    ask( batch( { readBytes( 0x49, 0, 1 ) } ) );
    EXPECT_FALSE( lastRequest().has_retries() );
    EXPECT_THAT( batches(), ElementsAre( "48[00]x1", "49[00]x1" ) );
    EXPECT_EQ( 2U, requests().size() );
    EXPECT_TRUE( waitForBatches( 2 ) );
}

TEST_F( FakeSmbusServerTest, KeepsTheLastFrameWithItsLength ) {
    const auto request = batch( { readBytes( 0x48, 0, 1 ) } );
    ask( request );
    EXPECT_EQ( 4 + request.ByteSizeLong(), lastFrame().size() );
    EXPECT_EQ( request.SerializeAsString(), lastFrame().substr( 4 ) );
}

TEST_F( FakeSmbusServerTest, ForgetsBatchesAndScript ) {
    ask( batch( { readBytes( 0x48, 0, 1 ) } ) );
    answer( { bytes( 7 ) } );
    forget();
    EXPECT_EQ( "", lastBatch() );
    EXPECT_THAT( ask( batch( { readBytes( 0x48, 0, 1 ) } ) ), ElementsAre( "00" ) );
}

TEST_F( FakeSmbusServerTest, KilledLeavesADeadSocketFile ) {
    ask( batch( { readBytes( 0x48, 0, 1 ) } ) );
    killServer();
    EXPECT_TRUE( std::filesystem::is_socket( socketPath() ) );
    EXPECT_EQ( -ECONNREFUSED, client_.setup() );
}

TEST_F( FakeSmbusServerTest, RestartedKeepsRecordAndScript ) {
    answer( { ok } );
    answer( { bytes( 7 ) } );
    ask( batch( { readBytes( 0x48, 0, 1 ) } ) );
    restartServer();
    EXPECT_THAT( ask( batch( { readBytes( 0x48, 0, 1 ) } ) ), ElementsAre( "07" ) );
    EXPECT_EQ( 2U, batches().size() );
    EXPECT_EQ( 2, connectionCount() );
}

TEST_F( FakeSmbusServerTest, ServesSeveralClients ) {
    PlatformLibrary::PLSocket other;
    ASSERT_EQ( 0, other.setup() );
    ask( batch( { readBytes( 0x48, 0, 1 ) } ) );
    auto request = batch( { readBytes( 0x49, 0, 1 ) } );
    Smbus::TransactionResponse *received = nullptr;
    EXPECT_EQ( 0, other.sendRequestWait( &request, &received ) );
    delete received;
    EXPECT_THAT( batches(), ElementsAre( "48[00]x1", "49[00]x1" ) );
}

TEST( FakeSmbusServerLifeTest, PointsTheEnvironmentAtItselfAndBack ) {
    ::setenv( "SMBUSD_SOCKET", "/nowhere", 1 );
    std::filesystem::path folder;
    {
        const FakeSmbusServer server;
        folder = server.folder();
        EXPECT_EQ( server.socketPath(), std::getenv( "SMBUSD_SOCKET" ) );
        EXPECT_TRUE( std::filesystem::exists( folder ) );
    }
    EXPECT_STREQ( "/nowhere", std::getenv( "SMBUSD_SOCKET" ) );
    EXPECT_FALSE( std::filesystem::exists( folder ) );
}

} // namespace
