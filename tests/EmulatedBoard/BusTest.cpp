#include "EmulatedBoard/Bus.h"

#include <gtest/gtest.h>
#include <memory>
#include <string>
#include <vector>

using namespace EmulatedBoard;

namespace {

/// Drives what a test says and keeps what was written.
class Scripted : public Chip {
  public:
    Scripted( uint8_t address, std::vector<uint8_t> toDrive, bool takesWrites = true )
        : Chip( address ), driven( std::move( toDrive ) ), acknowledges( takesWrites ) {}

    bool write( std::span<const uint8_t> bytes ) override {
        written.assign( bytes.begin(), bytes.end() );
        return acknowledges;
    }
    uint8_t read( size_t position ) override {
        return position < driven.size() ? driven[position] : 0xff;
    }

    std::vector<uint8_t> written;
    std::vector<uint8_t> driven;
    bool acknowledges;

  protected:
    void powerOn() override {}
    std::vector<Knob> ownKnobs() override { return {}; }
};

} // namespace

class BusTest : public testing::Test {
  protected:
    Scripted &add( uint8_t address, std::vector<uint8_t> driven, bool acknowledges = true ) {
        auto chip = std::make_unique<Scripted>( address, std::move( driven ), acknowledges );
        Scripted &added = *chip;
        bus.segment().add( std::move( chip ) );
        return added;
    }

    Bus::Result readBlock( uint8_t address ) {
        const uint8_t command = 0x99;
        return bus.writeReadBlock( address, { &command, 1 }, block, count );
    }

    Bus bus;
    std::array<uint8_t, Bus::largestBlock> block = {};
    size_t count = 99;
};

TEST_F( BusTest, NobodyAcknowledgesAnEmptyAddress ) {
    add( 0x20, {} );
    uint8_t byte = 0;
    EXPECT_EQ( Bus::Result::NoAcknowledge, bus.write( 0x21, {} ) );
    EXPECT_EQ( Bus::Result::NoAcknowledge, bus.read( 0x21, { &byte, 1 } ) );
    EXPECT_EQ( Bus::Result::NoAcknowledge, readBlock( 0x21 ) );
}

TEST_F( BusTest, AbsentChipDoesNotAcknowledge ) {
    add( 0x20, {} ).presentIs( false );
    EXPECT_EQ( Bus::Result::NoAcknowledge, bus.write( 0x20, {} ) );
}

TEST_F( BusTest, ChipMayRefuseAWrite ) {
    add( 0x20, { 0x11 }, false );
    EXPECT_EQ( Bus::Result::NoAcknowledge, bus.write( 0x20, {} ) );
}

TEST_F( BusTest, BlockReadTakesAsManyAsTheChipSays ) {
    add( 0x20, { 2, 0x41, 0x42, 0x43 } );
    EXPECT_EQ( Bus::Result::Done, readBlock( 0x20 ) );
    EXPECT_EQ( 2u, count );
    EXPECT_EQ( 0x41, block[0] );
    EXPECT_EQ( 0x42, block[1] );
    EXPECT_EQ( 0x00, block[2] );
}

TEST_F( BusTest, BlockMayHave0To32Bytes ) {
    Scripted &chip = add( 0x20, { 0 } );
    EXPECT_EQ( Bus::Result::Done, readBlock( 0x20 ) );
    EXPECT_EQ( 0u, count );
    chip.driven = { 32 };
    EXPECT_EQ( Bus::Result::Done, readBlock( 0x20 ) );
    EXPECT_EQ( 32u, count );
    chip.driven = { 33 };
    EXPECT_EQ( Bus::Result::BadCount, readBlock( 0x20 ) );
}

TEST_F( BusTest, OneAcknowledgeOfTwoIsEnough ) {
    add( 0x20, {}, false );
    Scripted &willing = add( 0x20, {}, true );
    const uint8_t byte = 7;
    EXPECT_EQ( Bus::Result::Done, bus.write( 0x20, { &byte, 1 } ) );
    EXPECT_EQ( std::vector<uint8_t>{ 7 }, willing.written );
}

TEST_F( BusTest, TwoChipsAtOnceAreAnded ) {
    add( 0x20, { 0xf0, 0x0f } );
    add( 0x20, { 0x3c, 0xff } );
    std::array<uint8_t, 2> bytes = {};
    bus.read( 0x20, bytes );
    EXPECT_EQ( ( std::array<uint8_t, 2>{ 0x30, 0x0f } ), bytes );
}
