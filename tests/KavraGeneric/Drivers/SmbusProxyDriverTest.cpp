#include "tests/support/FakeSmbusServer.h"
#include "tests/support/LibraryFixture.h"

#include <gmock/gmock.h>

#include <cstring>
#include <deque>
#include <unistd.h>

// In place of the C library's: the delays are what is tested, not worth waiting for.
static std::vector<unsigned> sleeps;
extern "C" int usleep( useconds_t microseconds ) {
    sleeps.push_back( microseconds );
    return 0;
}

namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using testing::StrEq;
using testing::ThrowsMessage;

constexpr const char *topology =
    R"([ { "type": "I2C", "ham": "KavraSmbus", "id": 2, "devices": [ { "did": 9 } ] } ])";

class SmbusProxyDriverTest : protected FakeSmbusServer, public LibraryFixture {
  protected:
    SmbusProxyDriverTest() {
        GTEST_FLAG_SET( death_test_style, "threadsafe" );
        sleeps.clear();
        loadTopology( topology );
        connect();
    }

    /// Raw access to the chip at 0x48; the driver arguments are the members of a JSON object.
    static pl_smbus *chip( const std::string &driverArgs ) {
        static std::deque<std::string> texts; // devices keep pointers to theirs
        texts.push_back( R"({ "did": 9, "driver": "SmbusProxyDriver", )"
                         R"("address": { "address": 72 }, "driverArgs": { )" +
                         driverArgs + " } }" );
        return pl_smbus_add( texts.back().c_str(), 0 );
    }

    static pl_smbus *delayedChip() {
        return chip( R"("localReadDelayMs": "5", "localWriteDelayMs": 7)" );
    }

    /// What newSmbusProxy() traced.
    static std::vector<std::string> delayTraces() {
        const std::vector<std::string> all = host().texts( 0 );
        return { all.end() - 2, all.end() };
    }
};

constexpr unsigned char data[] = { 0x61, 0x62, 0x63 };

unsigned char byteIn;
unsigned short wordIn;
unsigned char blockIn[8];
unsigned lengthIn;

/// One operation, as the host calls it, as the bus sees it, and what it sleeps.
struct Operation {
    const char *name;
    pl_status ( *call )( const pl_smbus_ops &ops, pl_smbus *chip );
    const char *batch;
    unsigned delay;
    bool failsAtOnce = false; ///< with a status of its own
};

void PrintTo( const Operation &operation, std::ostream *stream ) {
    *stream << operation.name;
}

constexpr unsigned readDelay = 5000;
constexpr unsigned writeDelay = 7000;

constexpr Operation operations[] = {
    { "receiveByte", []( auto &ops, auto *chip ) { return ops.receiveByte( chip, &byteIn ); },
      "48[]", readDelay },
    { "sendByte", []( auto &ops, auto *chip ) { return ops.sendByte( chip, 0xFE ); }, "48=fe",
      writeDelay },
    { "readByte", []( auto &ops, auto *chip ) { return ops.readByte( chip, 0xA0, &byteIn ); },
      "48[a0]x1", readDelay },
    { "writeByte", []( auto &ops, auto *chip ) { return ops.writeByte( chip, 0xA1, 0xFF ); },
      "48[a1]=ff", writeDelay },
    { "readWord", []( auto &ops, auto *chip ) { return ops.readWord( chip, 0xA2, &wordIn ); },
      "48[a2]x2", readDelay },
    { "writeWord", []( auto &ops, auto *chip ) { return ops.writeWord( chip, 0xA3, 0xFFEE ); },
      "48[a3]=eeff", writeDelay },
    { "blockRead",
      []( auto &ops, auto *chip ) { return ops.blockRead( chip, 0xA4, blockIn, &lengthIn ); },
      "48[a4]xB", readDelay },
    { "blockWrite", []( auto &ops, auto *chip ) { return ops.blockWrite( chip, 0xA5, data, 3 ); },
      "48[a5]=B:616263", writeDelay },
    { "i2cBlockRead",
      []( auto &ops, auto *chip ) { return ops.i2cBlockRead( chip, 0xA6, blockIn, 4 ); },
      "48[a6]x4", readDelay, true },
    { "i2cBlockWrite",
      []( auto &ops, auto *chip ) { return ops.i2cBlockWrite( chip, 0xA7, data, 3 ); },
      "48[a7]=616263", writeDelay },
    { "processCall",
      []( auto &ops, auto *chip ) { return ops.processCall( chip, 0xA8, 0x1234, &wordIn ); },
      "48[a8]P=3412", writeDelay },
};

class SmbusProxyOperationTest : public SmbusProxyDriverTest,
                                public testing::WithParamInterface<Operation> {
  protected:
    static pl_status call( pl_smbus *chip ) { return GetParam().call( *chip->ops, chip ); }
};

TEST_P( SmbusProxyOperationTest, IsOneBatchAndThenItsDelay ) {
    pl_smbus *const chip = delayedChip();
    EXPECT_EQ( PL_STATUS_OK, call( chip ) );
    EXPECT_THAT( batches(), ElementsAre( GetParam().batch ) );
    EXPECT_THAT( sleeps, ElementsAre( GetParam().delay ) );
}

TEST_P( SmbusProxyOperationTest, AsksForNoRetriesAndNoPacketErrorCode ) {
    call( delayedChip() );
    EXPECT_TRUE( lastRequest().has_retries() );
    EXPECT_EQ( 0u, lastRequest().retries() );
    EXPECT_FALSE( lastRequest().request( 0 ).flag() );
}

TEST_P( SmbusProxyOperationTest, FailureIsPassedOnAfterTheDelayUnlessItFailsAtOnce ) {
    answerFailed( "no acknowledge" );
    const bool atOnce = GetParam().failsAtOnce;
    EXPECT_EQ( atOnce ? PL_STATUS_IO_ERROR : PL_STATUS_FAILED, call( delayedChip() ) );
    EXPECT_EQ( atOnce ? 0U : 1U, sleeps.size() );
}

INSTANTIATE_TEST_SUITE_P( Operations, SmbusProxyOperationTest, testing::ValuesIn( operations ),
                          []( const auto &row ) { return std::string( row.param.name ); } );

TEST_F( SmbusProxyDriverTest, DelaysAreMillisecondsInDecimal ) {
    chip( R"("localReadDelayMs": "5", "localWriteDelayMs": 12)" );
    EXPECT_THAT( delayTraces(), ElementsAre( "setting read delay of 5000 useconds\n",
                                             "setting write delay of 12000 useconds\n" ) );
}

TEST_F( SmbusProxyDriverTest, AbsentDelaysAreZero ) {
    pl_smbus *const plain = chip( "" );
    EXPECT_THAT( delayTraces(), ElementsAre( "setting read delay of 0 useconds\n",
                                             "setting write delay of 0 useconds\n" ) );
    plain->ops->sendByte( plain, 1 );
    EXPECT_THAT( sleeps, ElementsAre( 0 ) );
}

TEST_F( SmbusProxyDriverTest, DelayThatIsNoNumberIsThrown ) {
    EXPECT_THAT( [] { chip( R"("localReadDelayMs": "x")" ); },
                 ThrowsMessage<std::invalid_argument>( StrEq( "stoi" ) ) );
    EXPECT_THAT( [] { chip( R"("localWriteDelayMs": "")" ); },
                 ThrowsMessage<std::invalid_argument>( StrEq( "stoi" ) ) );
    EXPECT_THAT( [] { chip( R"("localWriteDelayMs": "2147483648")" ); },
                 ThrowsMessage<std::out_of_range>( StrEq( "stoi" ) ) );
}

TEST_F( SmbusProxyDriverTest, DelayBeyondTheRangeWraps ) {
    chip( R"("localReadDelayMs": 4294968, "localWriteDelayMs": -1)" );
    EXPECT_THAT( delayTraces(), ElementsAre( "setting read delay of 704 useconds\n",
                                             "setting write delay of -1000 useconds\n" ) );
}

TEST_F( SmbusProxyDriverTest, EachAddMayHaveDelaysOfItsOwn ) {
    pl_smbus *const slow = delayedChip();
    pl_smbus *const fast = chip( "" );
    slow->ops->sendByte( slow, 1 );
    fast->ops->sendByte( fast, 1 );
    EXPECT_THAT( sleeps, ElementsAre( writeDelay, 0 ) );
}

TEST_F( SmbusProxyDriverTest, ReadsGiveWhatTheChipGave ) {
    pl_smbus *const proxy = delayedChip();
    answer( { bytes( 0x11 ) } );
    EXPECT_EQ( PL_STATUS_OK, proxy->ops->receiveByte( proxy, &byteIn ) );
    EXPECT_EQ( 0x11, byteIn );
    answer( { bytes( 0x22 ) } );
    EXPECT_EQ( PL_STATUS_OK, proxy->ops->readByte( proxy, 0, &byteIn ) );
    EXPECT_EQ( 0x22, byteIn );
}

TEST_F( SmbusProxyDriverTest, WordsHaveTheirLowByteFirst ) {
    pl_smbus *const proxy = delayedChip();
    answer( { bytes( 0x34, 0x12 ) } );
    EXPECT_EQ( PL_STATUS_OK, proxy->ops->readWord( proxy, 0, &wordIn ) );
    EXPECT_EQ( 0x1234, wordIn );
    answer( { bytes( 0x78, 0x56 ) } );
    EXPECT_EQ( PL_STATUS_OK, proxy->ops->processCall( proxy, 0, 1, &wordIn ) );
    EXPECT_EQ( 0x5678, wordIn );
}

TEST_F( SmbusProxyDriverTest, BlockReadGivesAsManyBytesAsTheChip ) {
    pl_smbus *const proxy = delayedChip();
    std::string largest( 255, 'z' );
    largest.front() = 'a';
    answer( { text( largest ) } );
    unsigned char block[255] = {};
    unsigned length = 0;
    EXPECT_EQ( PL_STATUS_OK, proxy->ops->blockRead( proxy, 0, block, &length ) );
    EXPECT_EQ( 255u, length );
    EXPECT_EQ( 0, std::memcmp( largest.data(), block, length ) );
}

TEST_F( SmbusProxyDriverTest, BlockLongerThanAnyChipGivesIsFailedAndNotCopied ) {
    pl_smbus *const proxy = delayedChip();
    answer( { text( std::string( 256, 'z' ) ) } );
    unsigned char block[1] = { 0xEE };
    unsigned length = 77;
    EXPECT_EQ( PL_STATUS_IO_ERROR, proxy->ops->blockRead( proxy, 0xA4, block, &length ) );
    EXPECT_EQ( 0u, length );
    EXPECT_EQ( 0xEE, block[0] );
    EXPECT_TRUE( host().traced( 0, "block read of 0xa4: 256 bytes are no block" ) );
}

TEST_F( SmbusProxyDriverTest, FailedBlockReadGivesLengthZero ) {
    pl_smbus *const proxy = delayedChip();
    unsigned char block[1] = { 0xEE };
    unsigned length = 77;
    answerFailed( "no acknowledge" );
    EXPECT_EQ( PL_STATUS_FAILED, proxy->ops->blockRead( proxy, 0, block, &length ) );
    EXPECT_EQ( 0u, length );
    EXPECT_EQ( 0xEE, block[0] );
}

TEST_F( SmbusProxyDriverTest, I2cBlockReadGivesTheBytesAskedFor ) {
    pl_smbus *const proxy = delayedChip();
    answer( { text( "abcd" ) } );
    unsigned char block[5] = { 0, 0, 0, 0, 0xEE };
    EXPECT_EQ( PL_STATUS_OK, proxy->ops->i2cBlockRead( proxy, 0, block, 4 ) );
    EXPECT_EQ( 0, std::memcmp( "abcd\xEE", block, 5 ) );
    EXPECT_THAT( sleeps, ElementsAre( readDelay ) );
}

TEST_F( SmbusProxyDriverTest, I2cBlockReadOfAnotherLengthFailsAtOnceAndCopiesNothing ) {
    pl_smbus *const proxy = delayedChip();
    for ( const char *answered : { "abc", "abcde", "" } ) {
        SCOPED_TRACE( answered );
        unsigned char block[5] = { 0xEE };
        answer( { text( answered ) } );
        EXPECT_EQ( PL_STATUS_IO_ERROR, proxy->ops->i2cBlockRead( proxy, 0, block, 4 ) );
        EXPECT_EQ( 0xEE, block[0] );
    }
    EXPECT_THAT( sleeps, IsEmpty() );
}

TEST_F( SmbusProxyDriverTest, FailedI2cBlockReadOfNothingKeepsItsStatusAndDelay ) {
    pl_smbus *const proxy = delayedChip();
    answerFailed( "no acknowledge" );
    EXPECT_EQ( PL_STATUS_FAILED, proxy->ops->i2cBlockRead( proxy, 0, blockIn, 0 ) );
    EXPECT_THAT( sleeps, ElementsAre( readDelay ) );
}

TEST_F( SmbusProxyDriverTest, QuickCommandAndBlockProcessCallAreNotSupported ) {
    pl_smbus *const proxy = delayedChip();
    unsigned char length = 0;
    EXPECT_EQ( PL_STATUS_NOT_SUPPORTED, proxy->ops->quickCommand( proxy, 1 ) );
    EXPECT_EQ( PL_STATUS_NOT_SUPPORTED,
               proxy->ops->blockProcessCall( proxy, 0, data, 3, blockIn, &length ) );
    EXPECT_THAT( batches(), IsEmpty() );
    EXPECT_THAT( sleeps, IsEmpty() );
}

TEST_F( SmbusProxyDriverTest, DeviceWithoutAnAccessMethodEndsTheProcess ) {
    EXPECT_DEATH( pl_smbus_add( R"({ "did": 9, "driver": "SmbusProxyDriver", "provideHam": 0,
                                     "address": { "address": 72 } })",
                                0 ),
                  "Assertion `ham' failed" );
}

} // namespace
