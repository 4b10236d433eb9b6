#include "KavraGeneric/Components/Gpio.h"

#include "tests/KavraGeneric/Components/Layout.h"
#include "tests/support/FakeSmbusServer.h"
#include "tests/support/LibraryFixture.h"

#include <gmock/gmock.h>

#include <deque>

namespace {

using testing::ElementsAre;

constexpr const char *topology =
    R"([ { "type": "I2C", "ham": "KavraSmbus", "id": 2, "devices": [ { "did": 9 } ] } ])";

class RegGpioTest : protected FakeSmbusServer, public LibraryFixture {
  protected:
    RegGpioTest() {
        GTEST_FLAG_SET( death_test_style, "threadsafe" );
        loadTopology( topology );
        connect();
    }

    /// A line of the chip at 0x31; the driver arguments are the members of a JSON object.
    static pl_gpio *line( const std::string &driverArgs ) {
        static std::deque<std::string> texts; // devices keep pointers to theirs
        texts.push_back( R"({ "did": 9, "driver": "GpioDriver", "address": { "address": 49 }, )"
                         R"("driverArgs": { )" +
                         driverArgs + " } }" );
        return pl_gpio_add( texts.back().c_str() );
    }

    static pl_gpio *line( int reg, int bitpos ) {
        return line( "\"register\": " + std::to_string( reg ) +
                     ", \"bitpos\": " + std::to_string( bitpos ) );
    }

    /// The flag lies behind the record, the back pointer and the device. Nothing here sets it.
    static pl_gpio *writeOnly( pl_gpio *gpio ) {
        reinterpret_cast<bool *>( gpio )[16 + 8 + 8] = true;
        return gpio;
    }

    static unsigned read( pl_gpio *gpio ) {
        unsigned value = 99;
        EXPECT_EQ( PL_STATUS_OK, gpio->ops->bitRead( gpio, &value ) );
        return value;
    }
};

using RegGpioDeathTest = RegGpioTest;

TEST_F( RegGpioTest, ReadsItsBitOfTheRegister ) {
    answer( { bytes( 0x80 ) } );
    answer( { bytes( 0x7F ) } );
    pl_gpio *const gpio = line( 5, 7 );
    EXPECT_EQ( 1u, read( gpio ) );
    EXPECT_EQ( 0u, read( gpio ) );
    EXPECT_THAT( batches(), ElementsAre( "31[05]x1", "31[05]x1" ) );
}

TEST_F( RegGpioTest, EachPositionReadsItsOwnBit ) {
    for ( int bitpos = 0; bitpos < 8; ++bitpos ) {
        SCOPED_TRACE( bitpos );
        answer( { bytes( 1 << bitpos ) } );
        answer( { bytes( ~( 1 << bitpos ) ) } );
        pl_gpio *const gpio = line( 0, bitpos );
        EXPECT_EQ( 1u, read( gpio ) );
        EXPECT_EQ( 0u, read( gpio ) );
    }
}

TEST_F( RegGpioTest, PositionCountsModuloThirtyTwo ) {
    answer( { bytes( 0x80 ) } );
    answer( { bytes( 0xFF ) } );
    EXPECT_EQ( 1u, read( line( 0, 39 ) ) );
    EXPECT_EQ( 0u, read( line( 0, 8 ) ) );
}

TEST_F( RegGpioTest, SetReadsTheRegisterAndWritesItBackWithTheBit ) {
    answer( { bytes( 0x81 ) } );
    pl_gpio *const gpio = line( 5, 3 );
    EXPECT_EQ( PL_STATUS_OK, gpio->ops->bitSet( gpio ) );
    EXPECT_THAT( batches(), ElementsAre( "31[05]x1", "31[05]=89" ) );
}

TEST_F( RegGpioTest, ClearReadsTheRegisterAndWritesItBackWithoutTheBit ) {
    answer( { bytes( 0xFF ) } );
    pl_gpio *const gpio = line( 5, 3 );
    EXPECT_EQ( PL_STATUS_OK, gpio->ops->bitClear( gpio ) );
    EXPECT_THAT( batches(), ElementsAre( "31[05]x1", "31[05]=f7" ) );
}

TEST_F( RegGpioTest, BitThatIsSoAlreadyIsWrittenAllTheSame ) {
    answer( { bytes( 0xFF ) } );
    answer( { bytes( 0xFF ) } ); // to the write
    answer( { bytes( 0x00 ) } );
    pl_gpio *const gpio = line( 5, 3 );
    EXPECT_EQ( PL_STATUS_OK, gpio->ops->bitSet( gpio ) );
    EXPECT_EQ( PL_STATUS_OK, gpio->ops->bitClear( gpio ) );
    EXPECT_THAT( batches(), ElementsAre( "31[05]x1", "31[05]=ff", "31[05]x1", "31[05]=00" ) );
}

TEST_F( RegGpioTest, WritesCarryNoPacketErrorCode ) {
    pl_gpio *const gpio = line( 5, 3 );
    gpio->ops->bitSet( gpio );
    EXPECT_FALSE( lastRequest().request( 0 ).flag() );
}

TEST_F( RegGpioTest, FailedReadIsPassedOnAndNothingIsWritten ) {
    pl_gpio *const gpio = line( 5, 3 );
    unsigned value = 99;
    answerFailed( "no acknowledge" );
    EXPECT_EQ( PL_STATUS_FAILED, gpio->ops->bitRead( gpio, &value ) );
    EXPECT_EQ( 99u, value );
    answerFailed( "no acknowledge" );
    EXPECT_EQ( PL_STATUS_FAILED, gpio->ops->bitSet( gpio ) );
    answerFailed( "no acknowledge" );
    EXPECT_EQ( PL_STATUS_FAILED, gpio->ops->bitClear( gpio ) );
    EXPECT_THAT( batches(), ElementsAre( "31[05]x1", "31[05]x1", "31[05]x1" ) );
}

TEST_F( RegGpioTest, FailedWriteIsPassedOn ) {
    pl_gpio *const gpio = line( 5, 3 );
    answer( { bytes( 0 ) } );
    answerFailed( "no acknowledge" );
    EXPECT_EQ( PL_STATUS_FAILED, gpio->ops->bitSet( gpio ) );
    answer( { bytes( 0 ) } );
    dropReply();
    EXPECT_EQ( PL_STATUS_IO_ERROR, gpio->ops->bitClear( gpio ) );
}

TEST_F( RegGpioTest, WriteOnlyLineWritesWithoutReading ) {
    pl_gpio *const gpio = writeOnly( line( 5, 3 ) );
    EXPECT_EQ( PL_STATUS_OK, gpio->ops->bitSet( gpio ) );
    EXPECT_EQ( PL_STATUS_OK, gpio->ops->bitClear( gpio ) );
    EXPECT_THAT( batches(), ElementsAre( "31[05]=08", "31[05]=f7" ) );
}

TEST_F( RegGpioTest, ArgumentsMayBeTexts ) {
    answer( { bytes( 0x02 ) } );
    EXPECT_EQ( 1u, read( line( R"("register": "16", "bitpos": "1")" ) ) );
    EXPECT_EQ( "31[10]x1", lastBatch() );
}

TEST_F( RegGpioTest, HexadecimalRegisterReadsAsZero ) {
    read( line( R"("register": "0x10", "bitpos": "1")" ) );
    EXPECT_EQ( "31[00]x1", lastBatch() );
}

TEST_F( RegGpioTest, ArgumentWithoutALeadingNumberIsThrown ) {
    EXPECT_THROW( line( R"("register": "x", "bitpos": "1")" ), std::invalid_argument );
    EXPECT_THROW( line( R"("register": "1", "bitpos": "")" ), std::invalid_argument );
}

TEST_F( RegGpioTest, LinesOfOneDeviceAreApart ) {
    pl_gpio *const low = line( 5, 0 );
    pl_gpio *const high = line( 6, 7 );
    EXPECT_NE( low, high );
    answer( { bytes( 0x01 ) } );
    answer( { bytes( 0x01 ) } );
    EXPECT_EQ( 1u, read( low ) );
    EXPECT_EQ( 0u, read( high ) );
    EXPECT_THAT( batches(), ElementsAre( "31[05]x1", "31[06]x1" ) );
}

TEST_F( RegGpioDeathTest, MissingRegisterEndsTheProcess ) {
    EXPECT_DEATH( line( R"("bitpos": 1)" ),
                  testing::HasSubstr( "Assertion `it != args.driverArgs.end()' failed" ) );
}

TEST_F( RegGpioDeathTest, MissingBitPositionEndsTheProcess ) {
    EXPECT_DEATH( line( R"("register": 1)" ),
                  testing::HasSubstr( "Assertion `it != args.driverArgs.end()' failed" ) );
}

} // namespace
