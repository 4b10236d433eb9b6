#include "SmbusServer/I2cTransfer.h"
#include "SmbusServer/PacketErrorCode.h"
#include "tests/SmbusServer/FakeI2cKernel.h"

#include <cerrno>
#include <gtest/gtest.h>
#include <string>

using namespace SmbusServer;

namespace {

constexpr unsigned long plainI2c = I2C_FUNC_I2C;
constexpr unsigned long smbusOnly = I2C_FUNC_SMBUS_BYTE | I2C_FUNC_SMBUS_BYTE_DATA |
                                    I2C_FUNC_SMBUS_WORD_DATA | I2C_FUNC_SMBUS_PROC_CALL |
                                    I2C_FUNC_SMBUS_BLOCK_DATA | I2C_FUNC_SMBUS_I2C_BLOCK;

class I2cDevTransferTest : public testing::TestWithParam<unsigned long> {
  protected:
    I2cDevTransferTest() {
        for ( unsigned i = 0; i < 256; ++i ) {
            chip().memory[i] = static_cast<uint8_t>( i ^ 0x80 );
        }
        kernel.functions = GetParam();
        kernel.open( "/dev/i2c-0", adapter );
    }
    FakeI2cChip &chip() { return kernel.chips[0x48]; }

    /// What ends up on the wires, or "errno" and its number.
    std::string perform( Smbus::RequestType type, uint32_t reg, uint32_t length,
                         std::string_view data = {} ) {
        const Operation operation = { .chip = 0x48,
                                      .reg = reg,
                                      .registerWidth = registerWidth,
                                      .type = type,
                                      .length = length,
                                      .data = data,
                                      .pec = pec };
        kernel.wires.clear();
        read.clear();
        adapter->chipIs( 0x48 );
        const int error = i2cTransfer( *adapter, kernel.functions, operation, read );
        return error == 0 ? kernel.wires : "errno " + std::to_string( error );
    }
    static std::string failure( int error ) { return "errno " + std::to_string( error ); }

    FakeI2cKernel kernel;
    std::unique_ptr<I2cAdapter> adapter;
    uint8_t registerWidth = 1;
    bool pec = false;
    std::string read;
};

/// Whatever calls an adapter has, the same goes over the wires.
using EveryAdapterTest = I2cDevTransferTest;
using SmbusOnlyTest = I2cDevTransferTest;
using PlainI2cTest = I2cDevTransferTest;

INSTANTIATE_TEST_SUITE_P( Masks, EveryAdapterTest,
                          testing::Values( plainI2c, smbusOnly, plainI2c | smbusOnly ) );
INSTANTIATE_TEST_SUITE_P( Masks, SmbusOnlyTest, testing::Values( smbusOnly ) );
INSTANTIATE_TEST_SUITE_P( Masks, PlainI2cTest, testing::Values( plainI2c ) );

TEST_P( EveryAdapterTest, ReadOfLength0IsAReceiveByte ) {
    chip().pointer = 5;
    EXPECT_EQ( "S 48r 85 P", perform( Smbus::READ, 0, 0 ) );
    EXPECT_EQ( "\x85", read );
}

TEST_P( EveryAdapterTest, ReadsSendTheRegisterFirst ) {
    EXPECT_EQ( "S 48w 02 S 48r 82 P", perform( Smbus::READ, 2, 1 ) );
    EXPECT_EQ( "\x82", read );
    EXPECT_EQ( "S 48w 02 S 48r 82 83 P", perform( Smbus::READ, 2, 2 ) );
    EXPECT_EQ( "\x82\x83", read );
    EXPECT_EQ( "S 48w 02 S 48r 82 83 84 P", perform( Smbus::READ, 2, 3 ) );
    EXPECT_EQ( "\x82\x83\x84", read );
}

TEST_P( EveryAdapterTest, LongestBlockRead ) {
    perform( Smbus::READ, 0, 32 );
    EXPECT_EQ( 32u, read.size() );
    EXPECT_EQ( '\x9f', read.back() );
}

TEST_P( EveryAdapterTest, WriteOfLength0SendsTheRegister ) {
    EXPECT_EQ( "S 48w 04 P", perform( Smbus::WRITE, 4, 0 ) );
}

TEST_P( EveryAdapterTest, WritesSendTheirBytesBehindTheRegister ) {
    EXPECT_EQ( "S 48w 04 61 P", perform( Smbus::WRITE, 4, 1, "a" ) );
    EXPECT_EQ( "S 48w 04 61 62 P", perform( Smbus::WRITE, 4, 2, "ab" ) );
    EXPECT_EQ( "S 48w 04 61 62 63 P", perform( Smbus::WRITE, 4, 3, "abc" ) );
}

TEST_P( EveryAdapterTest, ProcessCallWritesAWordAndReadsAWord ) {
    EXPECT_EQ( "S 48w 04 61 62 S 48r 86 87 P", perform( Smbus::PROCESS_CALL, 4, 2, "ab" ) );
    EXPECT_EQ( "\x86\x87", read );
}

TEST_P( EveryAdapterTest, BlockWriteSendsItsCount ) {
    EXPECT_EQ( "S 48w 04 03 61 62 63 P", perform( Smbus::BLOCK_WRITE, 4, 3, "abc" ) );
}

TEST_P( EveryAdapterTest, BlockReadLeavesTheCountOut ) {
    chip().memory[4] = 2;
    perform( Smbus::BLOCK_READ, 4, 0 );
    EXPECT_EQ( "\x85\x86", read );
}

TEST_P( EveryAdapterTest, BlockReadOfAWrongCountBreaksTheProtocol ) {
    chip().memory[4] = 33;
    EXPECT_EQ( failure( EPROTO ), perform( Smbus::BLOCK_READ, 4, 0 ) );
}

TEST_P( EveryAdapterTest, WideRegisterIsWrittenHighByteFirst ) {
    registerWidth = 2;
    EXPECT_EQ( "S 48w 12 34 61 P", perform( Smbus::WRITE, 0x1234, 1, "a" ) );
    EXPECT_EQ( "S 48w 12 34 P", perform( Smbus::WRITE, 0x1234, 0 ) );
}

TEST_P( EveryAdapterTest, AbsentChipGivesNoAcknowledge ) {
    kernel.chips.clear();
    EXPECT_EQ( failure( ENXIO ), perform( Smbus::READ, 0, 1 ) );
    EXPECT_EQ( failure( ENXIO ), perform( Smbus::WRITE, 0, 1, "a" ) );
}

TEST_P( EveryAdapterTest, ErrorOfTheAdapterComesBack ) {
    kernel.errors = { ETIMEDOUT };
    EXPECT_EQ( failure( ETIMEDOUT ), perform( Smbus::WRITE, 0, 2, "ab" ) );
    EXPECT_EQ( "S 48w 00 61 62 P", perform( Smbus::WRITE, 0, 2, "ab" ) );
}

TEST_P( SmbusOnlyTest, WhatSmbusCannotExpressIsRefused ) {
    EXPECT_EQ( failure( EOPNOTSUPP ), perform( Smbus::READ, 0, 33 ) );
    EXPECT_EQ( failure( EOPNOTSUPP ), perform( Smbus::WRITE, 0, 33, std::string( 33, 'a' ) ) );
    registerWidth = 2;
    EXPECT_EQ( failure( EOPNOTSUPP ), perform( Smbus::READ, 0, 1 ) );
    EXPECT_EQ( failure( EOPNOTSUPP ), perform( Smbus::BLOCK_READ, 0, 0 ) );
    EXPECT_EQ( "", kernel.wires );
}

TEST_P( SmbusOnlyTest, EachCallNeedsItsBitOfTheMask ) {
    kernel.functions = I2C_FUNC_SMBUS_READ_BYTE_DATA;
    EXPECT_EQ( "S 48w 00 S 48r 80 P", perform( Smbus::READ, 0, 1 ) );
    for ( const Smbus::RequestType type :
          { Smbus::WRITE, Smbus::PROCESS_CALL, Smbus::BLOCK_WRITE } ) {
        EXPECT_EQ( failure( EOPNOTSUPP ), perform( type, 0, 2, "ab" ) );
    }
    EXPECT_EQ( failure( EOPNOTSUPP ), perform( Smbus::READ, 0, 0 ) );
    EXPECT_EQ( failure( EOPNOTSUPP ), perform( Smbus::READ, 0, 2 ) );
    EXPECT_EQ( failure( EOPNOTSUPP ), perform( Smbus::READ, 0, 3 ) );
    EXPECT_EQ( failure( EOPNOTSUPP ), perform( Smbus::BLOCK_READ, 0, 0 ) );
    EXPECT_EQ( 1, kernel.smbusCalls );
}

TEST_P( SmbusOnlyTest, BlockThatComesShortBreaksTheProtocol ) {
    kernel.blocksAreShort = true;
    EXPECT_EQ( failure( EPROTO ), perform( Smbus::READ, 2, 3 ) );
    EXPECT_EQ( "", read );
}

TEST_P( PlainI2cTest, LongTransfersAndWideRegistersWork ) {
    perform( Smbus::READ, 0, 8192 );
    EXPECT_EQ( 8192u, read.size() );
    EXPECT_EQ( failure( EOPNOTSUPP ), perform( Smbus::WRITE, 0, 8192, std::string( 8192, 'a' ) ) );
    registerWidth = 2;
    EXPECT_EQ( "S 48w 12 03 S 48r 93 P", perform( Smbus::READ, 0x1203, 1 ) );
}

TEST_P( PlainI2cTest, ReadIsOneTransferOfTwoMessages ) {
    perform( Smbus::READ, 0, 1 );
    EXPECT_EQ( 1, kernel.transfers );
    EXPECT_EQ( 0, kernel.smbusCalls );
}

/// Packet error codes: by the kernel, or by us where the kernel has no call for it.
class PacketErrorCodeTest : public I2cDevTransferTest {
  protected:
    PacketErrorCodeTest() { pec = true; }
};
INSTANTIATE_TEST_SUITE_P( Masks, PacketErrorCodeTest,
                          testing::Values( plainI2c, smbusOnly | I2C_FUNC_SMBUS_PEC,
                                           plainI2c | smbusOnly | I2C_FUNC_SMBUS_PEC ) );

TEST_P( PacketErrorCodeTest, ChipTakesWritesOfAllLengths ) {
    chip().checksCodes = true;
    EXPECT_EQ( "S 48w 04 61 dd P", perform( Smbus::WRITE, 4, 1, "a" ) );
    for ( const std::string data : { "", "a", "ab", "abc", "abcdefghijkl" } ) {
        const auto length = static_cast<uint32_t>( data.size() );
        EXPECT_EQ( 0u, perform( Smbus::WRITE, 4, length, data ).find( "S 48w 04" ) ) << data;
    }
    EXPECT_EQ( 0u, perform( Smbus::BLOCK_WRITE, 4, 2, "ab" ).find( "S 48w 04 02 61 62" ) );
}

TEST_P( PacketErrorCodeTest, ReadsAreChecked ) {
    for ( const uint32_t length : { 1u, 2u, 5u } ) {
        chip().codeBehind = length;
        chip().codeIsWrong = false;
        perform( Smbus::READ, 2, length );
        EXPECT_EQ( length, read.size() );
        chip().codeIsWrong = true;
        EXPECT_EQ( failure( EBADMSG ), perform( Smbus::READ, 2, length ) );
    }
}

TEST_P( PacketErrorCodeTest, BlockReadsAreChecked ) {
    chip().memory[4] = 2;
    chip().codeBehind = 3;
    perform( Smbus::BLOCK_READ, 4, 0 );
    EXPECT_EQ( "\x85\x86", read );
    chip().codeIsWrong = true;
    EXPECT_EQ( failure( EBADMSG ), perform( Smbus::BLOCK_READ, 4, 0 ) );
}

TEST( PacketErrorCode, CheckValueOfTheCrc ) {
    const std::string text = "123456789";
    EXPECT_EQ( 0xf4, packetErrorCode( { reinterpret_cast<const uint8_t *>( text.data() ), 9 } ) );
}

} // namespace
