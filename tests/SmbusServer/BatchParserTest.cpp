// What is taken apart directly must be what the message's own parser would have made of it.
#include "SmbusServer/BatchParser.h"

#include "tests/support/Requests.h"

#include <gtest/gtest.h>
#include <string>

using namespace Requests;
using namespace SmbusServer;

class BatchParserTest : public testing::Test {
  protected:
    void expectSameAsTheMessagesOwn( const std::string &payload ) {
        Smbus::TransactionRequest expected;
        const bool isBatch = expected.ParseFromString( payload );
        ASSERT_EQ( isBatch, parseBatch( payload, parsed ) ) << testing::PrintToString( payload );
        if ( isBatch ) {
            ASSERT_EQ( expected.SerializeAsString(), parsed.SerializeAsString() )
                << testing::PrintToString( payload );
        }
    }

    static Smbus::Request full() {
        Smbus::Request request = writeBytes( 0x7f, 0xffffffff, std::string( 200, 'd' ) );
        request.set_address( 0x86ff'ffff'ffff'fffe );
        request.set_type( Smbus::BLOCK_WRITE );
        request.set_flag( true );
        request.set_pci( 0xffffffff );
        request.set_mastertype( Smbus::SCC_SPI );
        return request;
    }

    static std::string manyKinds() {
        Smbus::TransactionRequest all =
            batch( { sendByte( 0x70, 1 ), readBytes( 0x48, 0, 2 ), blockRead( 0x58, 0x99 ), full(),
                     processCall( 0x58, 0x30, "ab" ), Smbus::Request(), sendByte( 0x70, 0 ) } );
        all.set_retries( 300 );
        return all.SerializeAsString();
    }

    Smbus::TransactionRequest parsed; // used again and again, as the server does
};

TEST_F( BatchParserTest, WhatHostsSendIsReadWhole ) {
    expectSameAsTheMessagesOwn( "" );
    expectSameAsTheMessagesOwn( manyKinds() );
    expectSameAsTheMessagesOwn( batch( { full() } ).SerializeAsString() );
    expectSameAsTheMessagesOwn( batch( { readBytes( 0x48, 0, 1 ) } ).SerializeAsString() );
    EXPECT_FALSE( parsed.has_retries() );
}

TEST_F( BatchParserTest, FieldsSetToNothingAreStillPresent ) {
    Smbus::TransactionRequest zeros;
    Smbus::Request &zero = *zeros.add_request();
    zero.set_data( "" );
    zero.set_address( 0 );
    zero.set_type( Smbus::READ );
    zero.set_length( 0 );
    zero.set_flag( false );
    zero.set_pci( 0 );
    zero.set_mastertype( Smbus::SIMULATED );
    zeros.set_retries( 0 );
    expectSameAsTheMessagesOwn( zeros.SerializeAsString() );
}

TEST_F( BatchParserTest, LastOfAFieldThatComesTwiceCounts ) {
    expectSameAsTheMessagesOwn( std::string( "\x0a\x08\x0a\x01x\x20\x01\x0a\x01y", 10 ) );
    expectSameAsTheMessagesOwn( "\x0a\x04\x20\x01\x20\x02\x10\x05\x10\x06" );
}

TEST_F( BatchParserTest, UnknownFieldsAndValuesAreKept ) {
    expectSameAsTheMessagesOwn( "\x0a\x03\x48\x96\x01" );                   // field 9
    expectSameAsTheMessagesOwn( "\x0a\x02\x18\x05" );                       // request type 5
    expectSameAsTheMessagesOwn( "\x0a\x02\x38\x07" );                       // master type 7
    expectSameAsTheMessagesOwn( "\x0a\x06\xa3\x06\xa4\x06\x20\x02" );       // an empty group
    expectSameAsTheMessagesOwn( std::string( "\x0a\x03\xa0\x00\x07", 5 ) ); // a tag of two bytes
}

TEST_F( BatchParserTest, NumbersOfAnyLengthAreReadAlike ) {
    for ( const char *start : { "\x10", "\x20", "\x28", "\x30", "\x18", "\x38" } ) {
        for ( size_t length = 0; length < 12; ++length ) {
            for ( const char *end : { "\x01", "\x7f" } ) {
                const std::string field = start + std::string( length, '\xff' ) + end;
                expectSameAsTheMessagesOwn(
                    "\x0a" + std::string( 1, static_cast<char>( field.size() ) ) + field );
            }
        }
    }
}

TEST_F( BatchParserTest, PayloadCutAnywhereIsJudgedAlike ) {
    const std::string payload = manyKinds();
    for ( size_t size = 0; size < payload.size(); ++size ) {
        expectSameAsTheMessagesOwn( payload.substr( 0, size ) );
    }
}

TEST_F( BatchParserTest, EveryChangedByteIsJudgedAlike ) {
    const std::string payload = manyKinds();
    for ( size_t i = 0; i < payload.size(); ++i ) {
        for ( int value = 0; value < 256; ++value ) {
            std::string changed = payload;
            changed[i] = static_cast<char>( value );
            expectSameAsTheMessagesOwn( changed );
        }
    }
}
