#include "tests/KavraUtil/PLSocketFixture.h"

#include <algorithm>
#include <fstream>
#include <gmock/gmock.h>
#include <iterator>
#include <string>
#include <vector>

namespace {

using Rows = std::vector<std::string>;

// 35.0 degrees from the sensor behind the two muxes of docs/protocol.md: master SCD at 0x300,
// accelerator 1, bus 0. The rows are those of the page.
const Rows requestRows = {
    "00 00 00 73",
    "0a 15  10 84 80 80 80 80 8e 90 80 02  18 01  20 00  28 00  30 80 06  38 02",
    "0a 15  10 88 80 80 80 90 8e 90 80 02  18 01  20 00  28 00  30 80 06  38 02",
    "0a 15  10 80 80 80 80 80 89 90 80 02  18 00  20 02  28 00  30 80 06  38 02",
    "0a 15  10 80 80 80 80 90 8e 90 80 02  18 01  20 00  28 00  30 80 06  38 02",
    "0a 15  10 80 80 80 80 80 8e 90 80 02  18 01  20 00  28 00  30 80 06  38 02",
};

const Rows answerRows = {
    "00 00 00 0e", "0a 00", "0a 00", "0a 04  0a 02 23 00", "0a 00", "0a 00",
};

std::string bytesOf( const Rows &rows ) {
    std::string digits;
    for ( const std::string &row : rows ) {
        std::ranges::copy_if( row, std::back_inserter( digits ),
                              []( char c ) { return c != ' '; } );
    }
    std::string bytes;
    for ( std::size_t i = 0; i < digits.size(); i += 2 ) {
        bytes += static_cast<char>( std::stoi( digits.substr( i, 2 ), nullptr, 16 ) );
    }
    return bytes;
}

Smbus::Request behindTheScd( Smbus::RequestType type, unsigned chip, uint32_t reg,
                             unsigned length ) {
    constexpr uint64_t accelerator = 1;
    constexpr uint64_t registerWidth = 1;
    Smbus::Request request;
    request.set_address( registerWidth << 57 | accelerator << 46 | uint64_t{ chip } << 32 | reg );
    request.set_type( type );
    request.set_length( length );
    request.set_flag( false );
    request.set_pci( 0x300 );
    request.set_mastertype( Smbus::SCD );
    return request;
}

Smbus::TransactionRequest temperatureBehindTwoMuxes() {
    return Requests::batch( {
        behindTheScd( Smbus::WRITE, 0x70, 0x04, 0 ),
        behindTheScd( Smbus::WRITE, 0x71, 0x08, 0 ),
        behindTheScd( Smbus::READ, 0x48, 0x00, 2 ),
        behindTheScd( Smbus::WRITE, 0x71, 0x00, 0 ),
        behindTheScd( Smbus::WRITE, 0x70, 0x00, 0 ),
    } );
}

class WireTest : public PLSocketFixture {};

TEST_F( WireTest, ReadBehindTwoMuxesIsTheseBytes ) {
    ASSERT_EQ( 0, send( temperatureBehindTwoMuxes() ) );
    EXPECT_EQ( bytesOf( requestRows ), lastFrame() );
    EXPECT_EQ( "70=04 | 71=08 | 48[00]x2 | 71=00 | 70=00", lastBatch() );
}

TEST_F( WireTest, TheseBytesAreItsAnswer ) {
    rawReply( bytesOf( answerRows ) );
    ASSERT_EQ( 0, send( temperatureBehindTwoMuxes() ) );
    ASSERT_EQ( 5, response_->response_size() );
    EXPECT_EQ( std::string( "\x23\0", 2 ), response_->response( 2 ).data() );
    EXPECT_FALSE( response_->response( 0 ).has_data() );
    EXPECT_FALSE( response_->has_failed() );
}

TEST_F( WireTest, WriteWithAllItsFieldsIsTheseBytes ) {
    Smbus::Request write = Requests::writeBytes( 0x48, 1, "\x60\x80" );
    write.set_flag( true );
    write.set_pci( 0 );
    Smbus::TransactionRequest batch = Requests::batch( { write } );
    batch.set_retries( 0 );
    ASSERT_EQ( 0, send( batch ) );
    EXPECT_EQ(
        bytesOf( { "00 00 00 19", "0a 15  0a 02 60 80  10 81 80 80 80 80 09  18 01  20 02  28 01",
                   "30 00  38 01", "10 00" } ),
        lastFrame() );
}

TEST_F( WireTest, TheseBytesAreAFailure ) {
    rawReply( bytesOf( { "00 00 00 0c", "0a 03 0a 01 19", "10 01", "1a 03 62 75 73" } ) );
    ASSERT_EQ( 0, send( temperatureBehindTwoMuxes() ) );
    EXPECT_TRUE( response_->failed() );
    EXPECT_EQ( "bus", response_->error() );
    EXPECT_EQ( "\x19", response_->response( 0 ).data() );
}

TEST( SmbusMessagesTest, EnumerationsHaveTheseValuesAndNoOther ) {
    const std::vector types = { Smbus::READ, Smbus::WRITE, Smbus::PROCESS_CALL, Smbus::BLOCK_READ,
                                Smbus::BLOCK_WRITE };
    for ( int value = -1; value < 8; ++value ) {
        EXPECT_EQ( value >= 0 && value <= 4, Smbus::RequestType_IsValid( value ) ) << value;
    }
    EXPECT_THAT( types, testing::ElementsAre( 0, 1, 2, 3, 4 ) );

    const std::vector masters = { Smbus::SIMULATED, Smbus::I2C, Smbus::SCD,    Smbus::IO_PORT,
                                  Smbus::CELESTICA, Smbus::PLM, Smbus::SCC_SPI };
    for ( int value = -1; value < 10; ++value ) {
        EXPECT_EQ( value >= 0 && value <= 6, Smbus::MasterType_IsValid( value ) ) << value;
    }
    EXPECT_THAT( masters, testing::ElementsAre( 0, 1, 2, 3, 4, 5, 6 ) );
}

TEST( SmbusMessagesTest, FieldsThatAreSetToNothingAreStillPresent ) {
    Smbus::Request request;
    EXPECT_FALSE( request.has_flag() );
    request.set_flag( false );
    request.set_data( "" );
    EXPECT_TRUE( request.has_flag() );
    EXPECT_TRUE( request.has_data() );
}

TEST( ProtocolPageTest, ShowsTheBytesOfTheReadBehindTwoMuxes ) {
    std::ifstream file( SOURCE_DIR "/docs/protocol.md" );
    const std::string page( ( std::istreambuf_iterator<char>( file ) ), {} );
    std::size_t from = 0;
    for ( const Rows &rows : { requestRows, answerRows } ) {
        for ( const std::string &row : rows ) {
            const std::size_t at = page.find( "    " + row, from );
            ASSERT_NE( std::string::npos, at ) << row;
            from = at + row.size();
        }
    }
}

} // namespace
