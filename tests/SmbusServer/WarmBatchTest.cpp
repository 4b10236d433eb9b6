// A program of its own: it counts every allocation.
#include "EmulatedBoard/Document.h"
#include "SmbusServer/AnswerWriter.h"
#include "SmbusServer/BatchParser.h"
#include "SmbusServer/EmulatedBackend.h"
#include "SmbusServer/Transaction.h"
#include "tests/support/Requests.h"

#include <array>
#include <cstdlib>
#include <gtest/gtest.h>
#include <new>
#include <string>

static size_t allocations = 0;

void *operator new( size_t size ) {
    ++allocations;
    if ( void *memory = malloc( size ) ) {
        return memory;
    }
    throw std::bad_alloc();
}
void operator delete( void *memory ) noexcept {
    free( memory );
}
void operator delete( void *memory, size_t ) noexcept {
    free( memory );
}

using namespace Requests;
using namespace SmbusServer;

TEST( WarmBatchTest, AllocatesNothing ) {
    EmulatedBoard::Board board = EmulatedBoard::parseBoard(
        R"({ "busses": [ { "master": "I2C", "bus": 0, "chips": [
               { "name": "m", "type": "PCA9548", "address": "0x70", "channels": [
                   { "channel": 0, "chips": [
                       { "name": "s", "type": "LM75", "address": "0x48" } ] } ] } ] } ] })",
        "text" );
    EmulatedBackend backend( board );
    Transaction transaction( backend );
    const std::string payload = batch( { sendByte( 0x70, 1 ), writeBytes( 0x48, 3, "\x50\x01" ),
                                         readBytes( 0x48, 0, 2 ), sendByte( 0x70, 0 ) } )
                                    .SerializeAsString();
    Smbus::TransactionRequest request;
    Smbus::TransactionResponse response;
    std::array<char, 100> answer;
    size_t before = 0;
    for ( int round = 0; round < 3; ++round ) {
        before = allocations;
        ASSERT_TRUE( parseBatch( payload, request ) );
        transaction.perform( request, response );
        const AnswerWriter writer( response );
        ASSERT_LE( writer.size(), answer.size() );
        writer.write( answer.data() );
    }
    EXPECT_EQ( before, allocations );
    EXPECT_GT( before, 0u );
    ASSERT_EQ( 4, response.response_size() );
    EXPECT_EQ( 2u, response.response( 2 ).data().size() );
}
