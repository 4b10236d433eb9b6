#include "KavraGeneric/Library.h"
#include "tests/KavraGeneric/Ham/SmbusHamFixture.h"

#include <cerrno>
#include <cstring>

namespace {

/// What is told when a batch fails.
class KavraSmbusHamFailureTest : public SmbusHamFixture {
  protected:
    KavraSmbusHamFailureTest() { deviceOnBus( 0x48 ); }

    /// Sends four reads and returns the status.
    int executeFour() {
        host().lines.clear();
        ham().prepare();
        for ( unsigned reg = 0; reg < 4; ++reg ) {
            ham().addRead8( reg );
        }
        return ham().execute();
    }

    static std::vector<FakeHost::Line> told( const std::string &text ) {
        return { { 4, "executing KavraSmbusHam request" }, { 3, text } };
    }

    static std::string errorText( int error ) {
        return "execute: error. " + std::to_string( error ) + ", " + std::strerror( error );
    }
};

TEST_F( KavraSmbusHamFailureTest, ServerThatHangsUpIsAnIoError ) {
    dropReply();
    EXPECT_EQ( 4, executeFour() );
    EXPECT_EQ( told( errorText( ECONNRESET ) ), host().lines );
}

TEST_F( KavraSmbusHamFailureTest, ServerThatIsGoneIsAnIoError ) {
    killServer();
    _plSock->reconnectLimit = std::chrono::milliseconds( 0 );
    EXPECT_EQ( 4, executeFour() );
    EXPECT_EQ( told( errorText( ECONNREFUSED ) ), host().lines );
}

TEST_F( KavraSmbusHamFailureTest, ServerThatStaysQuietIsAnIoError ) {
    _plSock->answerLimit = std::chrono::milliseconds( 20 );
    stayQuiet();
    EXPECT_EQ( 4, executeFour() );
    EXPECT_EQ( told( errorText( ETIMEDOUT ) ), host().lines );
}

TEST_F( KavraSmbusHamFailureTest, ReportedFailureTellsTheReason ) {
    answerFailed( "bus 3 chip 0x48 reg 0x00: no acknowledge" );
    EXPECT_EQ( 6, executeFour() );
    EXPECT_EQ( told( "execute: failure in response bus 3 chip 0x48 reg 0x00: no acknowledge" ),
               host().lines );
}

TEST_F( KavraSmbusHamFailureTest, ReportedFailureWithoutAReason ) {
    answerFailedWithoutText();
    EXPECT_EQ( 6, executeFour() );
    EXPECT_EQ( told( "execute: failure in response unknown reason" ), host().lines );
}

TEST_F( KavraSmbusHamFailureTest, EmptyReasonIsAReason ) {
    answerFailed( "" );
    EXPECT_EQ( 6, executeFour() );
    EXPECT_EQ( told( "execute: failure in response " ), host().lines );
}

TEST_F( KavraSmbusHamFailureTest, FailureCountsEvenWithEveryResponse ) {
    Smbus::TransactionResponse response;
    for ( int i = 0; i < 4; ++i ) {
        response.add_response()->set_data( "a" );
    }
    response.set_failed( true );
    answer( response );
    EXPECT_EQ( 6, executeFour() );
    EXPECT_EQ( told( "execute: failure in response unknown reason" ), host().lines );
}

TEST_F( KavraSmbusHamFailureTest, ErrorTextWithoutFailureIsNoFailure ) {
    Smbus::TransactionResponse response;
    for ( int i = 0; i < 4; ++i ) {
        response.add_response()->set_data( "a" );
    }
    response.set_failed( false );
    response.set_error( "tried twice" );
    answer( response );
    EXPECT_EQ( 0, executeFour() );
}

TEST_F( KavraSmbusHamFailureTest, WrongNumberOfResponsesIsAFailure ) {
    for ( const int count : { 0, 3, 5 } ) {
        answerCount( count );
        EXPECT_EQ( 6, executeFour() );
        EXPECT_EQ( told( "execute: invalid number of response entries; expected 4, got " +
                         std::to_string( count ) ),
                   host().lines );
    }
}

TEST_F( KavraSmbusHamFailureTest, FailedReadLeavesTheOutput ) {
    byte_ = 0x55;
    answerFailedWithoutText();
    EXPECT_EQ( 6, ham().read8( 0, &byte_ ) );
    EXPECT_EQ( 0x55, byte_ );
}

TEST_F( KavraSmbusHamFailureTest, LastResponseStaysAfterAFailure ) {
    answer( { bytes( 0x11 ), bytes( 0x22 ), bytes( 0x33 ) } );
    ASSERT_EQ( 6, executeFour() );
    EXPECT_EQ( 0x22, ham().get8( 1 ) );
    dropReply();
    ASSERT_EQ( 4, ham().execute() );
    EXPECT_EQ( 0x22, ham().get8( 1 ) );
}

TEST_F( KavraSmbusHamFailureTest, NextBatchSucceedsAgain ) {
    dropReply();
    EXPECT_EQ( 4, executeFour() );
    EXPECT_EQ( 0, executeFour() );
    EXPECT_EQ( 2U, batches().size() );
}

class KavraSmbusHamDeathTest : public SmbusHamFixture {
  protected:
    KavraSmbusHamDeathTest() { deviceOnBus( 0x48 ); }

    void receive( Reply reply ) {
        ham().prepare();
        ham().addRead8( 0 );
        answer( { std::move( reply ) } );
        ASSERT_EQ( 0, ham().execute() );
    }
};

TEST_F( KavraSmbusHamDeathTest, InvalidIdEndsTheProcess ) {
    receive( ok );
    const std::string text = "Assertion `idx != INVALID_RESPONSE_ID' failed";
    EXPECT_DEATH( ham().get8( ::Ham::INVALID_RESPONSE_ID ), text );
    EXPECT_DEATH( ham().get16( ::Ham::INVALID_RESPONSE_ID ), text );
    EXPECT_DEATH( ham().getBlock( ::Ham::INVALID_RESPONSE_ID, 1 ), text );
}

TEST_F( KavraSmbusHamDeathTest, IdBehindTheLastResponseEndsTheProcess ) {
    receive( ok );
    const std::string text = "Assertion `\\( uint32_t \\)response_.response_size\\(\\) > "
                             "prepareRequestCount_ \\+ idx' failed";
    EXPECT_DEATH( ham().get8( 1 ), text );
    EXPECT_DEATH( ham().get16( 1 ), text );
    EXPECT_DEATH( ham().getBlock( 1, 1 ), text );
}

TEST_F( KavraSmbusHamDeathTest, ResultsEndWithTheNextBatch ) {
    receive( ok );
    ham().prepare();
    EXPECT_DEATH( ham().get8( 0 ), "response_.response_size\\(\\) > prepareRequestCount_" );
}

TEST_F( KavraSmbusHamDeathTest, ByteOfAnotherSizeEndsTheProcess ) {
    for ( const char *data : { "", "ab" } ) {
        receive( text( data ) );
        EXPECT_DEATH( ham().get8( 0 ), "Assertion `data.size\\(\\) == 1' failed" );
    }
}

TEST_F( KavraSmbusHamDeathTest, WordOfAnotherSizeEndsTheProcess ) {
    for ( const char *data : { "", "a", "abc" } ) {
        receive( text( data ) );
        EXPECT_DEATH( ham().get16( 0 ), "Assertion `data.size\\(\\) == 2' failed" );
    }
}

} // namespace
