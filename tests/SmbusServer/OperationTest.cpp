#include "SmbusServer/Operation.h"
#include "tests/support/Requests.h"

#include <gtest/gtest.h>

using namespace SmbusServer;

static Operation ofAddress( uint64_t address ) {
    Smbus::Request request;
    request.set_address( address );
    return decode( request );
}

TEST( OperationTest, AddressWordIsTakenApartByItsBitFields ) {
    const Operation operation =
        ofAddress( uint64_t{ 0x12345678 } | uint64_t{ 0x48 } << 32 | uint64_t{ 0x55 } << 39 |
                   uint64_t{ 0x2a } << 46 | uint64_t{ 2 } << 57 );
    EXPECT_EQ( 0x12345678u, operation.reg );
    EXPECT_EQ( 0x48, operation.chip );
    EXPECT_EQ( 0x55, operation.bus.bus );
    EXPECT_EQ( 0x2a, operation.bus.accelerator );
    EXPECT_EQ( 2, operation.registerWidth );
}

TEST( OperationTest, DelaysTimeOutAndWriteNoStopAreNoPartOfTheOthers ) {
    const uint64_t others = uint64_t{ 1 } << 53 | uint64_t{ 7 } << 54 | uint64_t{ 0x1f } << 59;
    const Operation operation = ofAddress( others );
    EXPECT_EQ( 0u, operation.reg );
    EXPECT_EQ( 0, operation.chip );
    EXPECT_EQ( BusName(), operation.bus );
    EXPECT_EQ( 1, operation.registerWidth );
}

TEST( OperationTest, EveryFieldReachesItsLargestValue ) {
    const Operation operation = ofAddress( ~uint64_t{ 0 } );
    EXPECT_EQ( 0xffffffffu, operation.reg );
    EXPECT_EQ( 127, operation.chip );
    EXPECT_EQ( 127, operation.bus.bus );
    EXPECT_EQ( 127, operation.bus.accelerator );
    EXPECT_EQ( 3, operation.registerWidth );
}

TEST( OperationTest, WriteOfLength0IsASendByte ) {
    Operation operation;
    operation.type = Smbus::WRITE;
    EXPECT_TRUE( operation.isSendByte() );
    operation.length = 1;
    EXPECT_FALSE( operation.isSendByte() );
    operation = {};
    EXPECT_FALSE( operation.isSendByte() );
}

TEST( OperationTest, EncodedWriteDecodesToItself ) {
    const Smbus::Request request = Requests::writeBytes( 0x48, 3, "\x19\x80" );
    const Smbus::Request encoded = encode( decode( request ) );
    const Operation operation = decode( encoded );
    EXPECT_EQ( Smbus::WRITE, operation.type );
    EXPECT_EQ( 0x48, operation.chip );
    EXPECT_EQ( 3u, operation.reg );
    EXPECT_EQ( 2u, operation.length );
    EXPECT_EQ( "\x19\x80", operation.data );
}
