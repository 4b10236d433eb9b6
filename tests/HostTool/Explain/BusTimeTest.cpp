/// Transfers counted by hand: S and P are one bit time each, a byte with its acknowledge is nine.
#include "HostTool/Explain/BusTime.h"

#include "tests/HostTool/Explain/Requests.h"

#include <gtest/gtest.h>

using namespace ExplainRequests;
using HostTool::Explain::costOf;
using HostTool::Explain::WireCost;

namespace {

Request ofType( Operation operation, unsigned length ) {
    Request request = readBytes( 0x58, 0x8b, length );
    request.operation = operation;
    return request;
}

Request withPec( Request request ) {
    request.pec = true;
    return request;
}

} // namespace

TEST( BusTimeTest, ReceiveByteIsAddressAndByte ) {
    // S addr+R data P
    EXPECT_EQ( 1u + 9 + 9 + 1, costOf( ofType( Operation::receiveByte, 0 ) ).bits );
}

TEST( BusTimeTest, SendByteIsAddressAndByte ) {
    // S addr+W byte P
    EXPECT_EQ( 1u + 9 + 9 + 1, costOf( sendByte( 0x70, 1 ) ).bits );
    EXPECT_EQ( 2u, costOf( sendByte( 0x70, 1 ) ).bytes );
}

TEST( BusTimeTest, ReadStartsTwice ) {
    // S addr+W reg Sr addr+R data P
    EXPECT_EQ( 1u + 9 + 9 + 1 + 9 + 9 + 1, costOf( readBytes( 0x48, 0, 1 ) ).bits );
    EXPECT_EQ( 1u + 9 + 9 + 1 + 9 + 18 + 1, costOf( readBytes( 0x48, 0, 2 ) ).bits );
    EXPECT_EQ( 1u + 9 + 9 + 1 + 9 + 16 * 9 + 1, costOf( readBytes( 0x50, 0, 16 ) ).bits );
}

TEST( BusTimeTest, WriteStartsOnce ) {
    // S addr+W reg data P
    EXPECT_EQ( 1u + 9 + 9 + 9 + 1, costOf( writeBytes( 0x60, 0x11, "a" ) ).bits );
    EXPECT_EQ( 1u + 9 + 9 + 18 + 1, costOf( writeBytes( 0x48, 0x02, "ab" ) ).bits );
}

TEST( BusTimeTest, ProcessCallWritesAWordAndReadsOne ) {
    // S addr+W reg low high Sr addr+R low high P
    EXPECT_EQ( 1u + 9 + 9 + 18 + 1 + 9 + 18 + 1,
               costOf( ofType( Operation::processCall, 2 ) ).bits );
}

TEST( BusTimeTest, BlockHasItsCount ) {
    Request read = ofType( Operation::blockRead, 0 );
    read.read = "abcd";
    // S addr+W reg Sr addr+R count data P
    EXPECT_EQ( 1u + 9 + 9 + 1 + 9 + 9 + 36 + 1, costOf( read ).bits );
    // S addr+W reg count data P
    EXPECT_EQ( 1u + 9 + 9 + 9 + 36 + 1, costOf( ofType( Operation::blockWrite, 4 ) ).bits );
}

TEST( BusTimeTest, PacketErrorCodeIsAByteMore ) {
    EXPECT_EQ( costOf( writeBytes( 0x58, 0x10, "a" ) ).bits + 9,
               costOf( withPec( writeBytes( 0x58, 0x10, "a" ) ) ).bits );
    EXPECT_EQ( costOf( sendByte( 0x58, 3 ) ).bits + 9,
               costOf( withPec( sendByte( 0x58, 3 ) ) ).bits );
}

TEST( BusTimeTest, WideRegisterIsAByteMore ) {
    Request request = readBytes( 0x50, 0x100, 1 );
    request.registerBytes = 2;
    EXPECT_EQ( costOf( readBytes( 0x50, 0, 1 ) ).bits + 9, costOf( request ).bits );
}

TEST( BusTimeTest, FailedAttemptTakesItsAddress ) {
    Request request = readBytes( 0x48, 0, 2 );
    request.failedAttempts = 2;
    // S addr P, twice, and then the read
    EXPECT_EQ( 2u * ( 1 + 9 + 1 ) + 48, costOf( request ).bits );
    request.outcome = Outcome::failed;
    EXPECT_EQ( 2u * ( 1 + 9 + 1 ), costOf( request ).bits );
    EXPECT_EQ( 1u, costOf( request ).requests );
}

TEST( BusTimeTest, SkippedRequestTakesNothing ) {
    Request request = readBytes( 0x48, 0, 2 );
    request.outcome = Outcome::skipped;
    EXPECT_EQ( 0u, costOf( request ).bits );
    EXPECT_EQ( 0u, costOf( request ).requests );
}

TEST( BusTimeTest, TransactionIsTheSumOfItsRequests ) {
    const WireCost cost =
        costOf( batch( 0, { sendByte( 0x70, 4 ), sendByte( 0x71, 8 ), readBytes( 0x48, 0, 2 ),
                            sendByte( 0x71, 0 ), sendByte( 0x70, 0 ) } ) );
    EXPECT_EQ( 1u, cost.transactions );
    EXPECT_EQ( 5u, cost.requests );
    EXPECT_EQ( 13u, cost.bytes );
    EXPECT_EQ( 4u * 20 + 48, cost.bits );
}

TEST( BusTimeTest, BitTakesAHundredthOfAMillisecondAt100Kilohertz ) {
    WireCost cost;
    cost.bits = 128;
    EXPECT_DOUBLE_EQ( 1.28, cost.milliseconds( 100 ) );
    EXPECT_DOUBLE_EQ( 0.32, cost.milliseconds( 400 ) );
}
