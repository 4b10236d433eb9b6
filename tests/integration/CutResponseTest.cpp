// Responses that are cut or have a wrong number of entries, seen through the library.
#include "tests/KavraGeneric/Ham/SmbusHamFixture.h"

#include <algorithm>

namespace {

class CutResponseTest : public SmbusHamFixture {
  protected:
    /// A batch of so many requests, the selects and deselects of the muxes not counted: a write and
    /// reads.
    int batch( int requests ) {
        ham().prepare();
        ham().addWrite8( 1, 0x60, false );
        for ( int i = 1; i < requests; ++i ) {
            ham().addRead8( 0 );
        }
        return ham().execute();
    }

    size_t writesSent() const {
        size_t count = 0;
        for ( const Smbus::TransactionRequest &each : requests() ) {
            count += static_cast<size_t>(
                std::count_if( each.request().begin(), each.request().end(), []( const auto &one ) {
                    return one.type() == Smbus::WRITE && one.length() > 0;
                } ) );
        }
        return count;
    }

    void behindTwoMuxes() { deviceBehind( { mux( 0x70, 0x01 ), mux( 0x71, 0x08 ) }, 0x48 ); }

    static constexpr int framing = 4;
};

TEST_F( CutResponseTest, AtEveryByteIsAnIoErrorOnce ) {
    constexpr int requests = 8 - framing;
    behindTwoMuxes();
    ASSERT_EQ( 0, batch( requests ) );
    // Six entries of no data take two bytes each, the write and the reads three more.
    constexpr size_t size = 4 + 4 * 2 + 4 * 5;
    for ( size_t cut = 0; cut < size; ++cut ) {
        SCOPED_TRACE( "after " + std::to_string( cut ) + " bytes" );
        forget();
        shortReply( cut );
        EXPECT_EQ( 4, batch( requests ) );
        EXPECT_EQ( 1u, writesSent() );
        EXPECT_EQ( 0, batch( requests ) );
        EXPECT_EQ( 2u, writesSent() );
    }
    shortReply( size );
    EXPECT_EQ( 0, batch( requests ) ) << "the size above is not the answer's";
}

TEST_F( CutResponseTest, WrongNumberOfEntriesIsAFailureOnce ) {
    behindTwoMuxes();
    for ( int requests = framing + 1; requests <= 12; ++requests ) {
        for ( int count = 0; count <= 2 * requests; ++count ) {
            SCOPED_TRACE( std::to_string( count ) + " for " + std::to_string( requests ) );
            forget();
            answerCount( count );
            EXPECT_EQ( count == requests ? 0 : 6, batch( requests - framing ) );
            EXPECT_EQ( 1u, writesSent() );
            EXPECT_EQ( 0, batch( requests - framing ) );
            EXPECT_EQ( 2u, writesSent() );
        }
    }
}

TEST_F( CutResponseTest, WrongNumberOfEntriesWithoutMuxes ) {
    deviceOnBus( 0x48 );
    for ( int requests = 1; requests <= 12; ++requests ) {
        for ( int count = 0; count <= 2 * requests; ++count ) {
            SCOPED_TRACE( std::to_string( count ) + " for " + std::to_string( requests ) );
            answerCount( count );
            EXPECT_EQ( count == requests ? 0 : 6, batch( requests ) );
            EXPECT_EQ( 0, batch( requests ) );
        }
    }
}

} // namespace
