#include "EmulatedBoard/Lm75.h"
#include "EmulatedBoard/Bus.h"

#include <array>
#include <gtest/gtest.h>
#include <initializer_list>
#include <memory>

using namespace EmulatedBoard;

using Word = std::array<uint8_t, 2>;

class Lm75Test : public testing::Test {
  protected:
    Lm75Test() {
        auto chip = std::make_unique<Lm75>( uint8_t{ 0x48 } );
        sensor = chip.get();
        bus.segment().add( std::move( chip ) );
    }

    Word readWord( uint8_t reg ) {
        Word word = {};
        EXPECT_EQ( Bus::Result::Done, bus.writeRead( 0x48, { &reg, 1 }, word ) );
        return word;
    }

    void write( std::initializer_list<uint8_t> bytes ) {
        EXPECT_EQ( Bus::Result::Done, bus.write( 0x48, { bytes.begin(), bytes.size() } ) );
    }

    Bus bus;
    Lm75 *sensor;
};

TEST_F( Lm75Test, TemperatureHasDegreesFirstAndHalfDegreeInBit7 ) {
    sensor->temperatureIs( 25.5 );
    EXPECT_EQ( ( Word{ 0x19, 0x80 } ), readWord( 0 ) );
}

TEST_F( Lm75Test, TemperatureHasElevenBits ) {
    sensor->temperatureIs( 25.9 );
    EXPECT_EQ( ( Word{ 0x19, 0xe0 } ), readWord( 0 ) );
}

TEST_F( Lm75Test, NegativeTemperatureIsTwosComplement ) {
    sensor->temperatureIs( -0.5 );
    EXPECT_EQ( ( Word{ 0xff, 0x80 } ), readWord( 0 ) );
    sensor->temperatureIs( -55 );
    EXPECT_EQ( ( Word{ 0xc9, 0x00 } ), readWord( 0 ) );
}

TEST_F( Lm75Test, LimitsAre75And80AfterPowerOn ) {
    EXPECT_EQ( ( Word{ 0x4b, 0x00 } ), readWord( 2 ) );
    EXPECT_EQ( ( Word{ 0x50, 0x00 } ), readWord( 3 ) );
}

TEST_F( Lm75Test, LimitsKeepNineBits ) {
    write( { 3, 0x5a, 0xff } );
    EXPECT_EQ( ( Word{ 0x5a, 0x80 } ), readWord( 3 ) );
    EXPECT_EQ( ( Word{ 0x4b, 0x00 } ), readWord( 2 ) );
}

TEST_F( Lm75Test, HalfALimitIsNotTaken ) {
    write( { 2, 0x10 } );
    EXPECT_EQ( ( Word{ 0x4b, 0x00 } ), readWord( 2 ) );
}

TEST_F( Lm75Test, TemperatureCannotBeWritten ) {
    sensor->temperatureIs( 20 );
    write( { 0, 0x50, 0x00 } );
    EXPECT_EQ( ( Word{ 0x14, 0x00 } ), readWord( 0 ) );
}

TEST_F( Lm75Test, ConfigurationHasOneByteAndFiveBits ) {
    write( { 1, 0xfe } );
    EXPECT_EQ( ( Word{ 0x1e, 0x1e } ), readWord( 1 ) );
}

TEST_F( Lm75Test, ReadWithoutPointerTakesTheLastRegister ) {
    write( { 3 } );
    Word word = {};
    EXPECT_EQ( Bus::Result::Done, bus.read( 0x48, word ) );
    EXPECT_EQ( ( Word{ 0x50, 0x00 } ), word );
}

TEST_F( Lm75Test, LongReadRepeatsTheRegister ) {
    const uint8_t reg = 2;
    std::array<uint8_t, 4> bytes = {};
    bus.writeRead( 0x48, { &reg, 1 }, bytes );
    EXPECT_EQ( ( std::array<uint8_t, 4>{ 0x4b, 0x00, 0x4b, 0x00 } ), bytes );
}

TEST_F( Lm75Test, UnusedPointerReadsOnes ) {
    EXPECT_EQ( ( Word{ 0xff, 0xff } ), readWord( 5 ) );
}

TEST_F( Lm75Test, ShutDownKeepsTheLastConversion ) {
    sensor->temperatureIs( 30 );
    write( { 1, 0x01 } );
    sensor->temperatureIs( 40 );
    EXPECT_EQ( ( Word{ 0x1e, 0x00 } ), readWord( 0 ) );
    write( { 1, 0x00 } );
    EXPECT_EQ( ( Word{ 0x28, 0x00 } ), readWord( 0 ) );
}

TEST_F( Lm75Test, AcknowledgesAQuickWrite ) {
    EXPECT_EQ( Bus::Result::Done, bus.write( 0x48, {} ) );
}
