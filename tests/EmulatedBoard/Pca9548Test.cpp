#include "EmulatedBoard/Pca9548.h"
#include "EmulatedBoard/Board.h"
#include "EmulatedBoard/Lm75.h"

#include <gtest/gtest.h>
#include <memory>
#include <string>

using namespace EmulatedBoard;

/// 0x70, with 0x48 behind channels 0 and 1 and another mux, 0x71, behind channel 2; that one has
/// 0x49 behind its channel 3.
class Pca9548Test : public testing::Test {
  protected:
    Pca9548Test() {
        bus = board.newBus( {} );
        Chip *outer = add( bus->segment(), "outer", std::make_unique<Pca9548>( uint8_t{ 0x70 } ) );
        addSensor( *outer->channel( 0 ), "left", 0x48, 0x11 );
        addSensor( *outer->channel( 1 ), "right", 0x48, 0x33 );
        Chip *inner =
            add( *outer->channel( 2 ), "inner", std::make_unique<Pca9548>( uint8_t{ 0x71 } ) );
        addSensor( *inner->channel( 3 ), "deep", 0x49, 0x22 );
    }

    Chip *add( Segment &segment, const std::string &name, std::unique_ptr<Chip> chip ) {
        return board.add( segment, name, std::move( chip ) );
    }

    void addSensor( Segment &segment, const std::string &name, uint8_t address, double celsius ) {
        auto sensor = std::make_unique<Lm75>( address );
        sensor->temperatureIs( celsius );
        add( segment, name, std::move( sensor ) );
    }

    Bus::Result select( uint8_t mux, uint8_t channels ) {
        return bus->write( mux, { &channels, 1 } );
    }

    /// Whole degrees, or -1 when nobody answers.
    int degrees( uint8_t address ) {
        uint8_t byte = 0;
        return bus->read( address, { &byte, 1 } ) == Bus::Result::Done ? byte : -1;
    }

    Board board;
    Bus *bus;
};

TEST_F( Pca9548Test, AllChannelsAreOffAfterPowerOn ) {
    EXPECT_EQ( -1, degrees( 0x48 ) );
    EXPECT_EQ( 0x00, degrees( 0x70 ) );
}

TEST_F( Pca9548Test, ControlByteHasOneBitAChannel ) {
    select( 0x70, 0x01 );
    EXPECT_EQ( 0x11, degrees( 0x48 ) );
    select( 0x70, 0x02 );
    EXPECT_EQ( 0x33, degrees( 0x48 ) );
    EXPECT_EQ( 0x02, degrees( 0x70 ) );
}

TEST_F( Pca9548Test, ZeroTurnsEverythingOff ) {
    select( 0x70, 0x01 );
    select( 0x70, 0x00 );
    EXPECT_EQ( -1, degrees( 0x48 ) );
}

TEST_F( Pca9548Test, TwoChannelsOnJoinTheirChipsWiresLow ) {
    select( 0x70, 0x03 );
    EXPECT_EQ( 0x11 & 0x33, degrees( 0x48 ) );
}

TEST_F( Pca9548Test, DeepChipNeedsEveryMuxOnItsWay ) {
    EXPECT_EQ( Bus::Result::NoAcknowledge, select( 0x71, 0x08 ) );
    select( 0x70, 0x04 );
    EXPECT_EQ( -1, degrees( 0x49 ) );
    EXPECT_EQ( Bus::Result::Done, select( 0x71, 0x08 ) );
    EXPECT_EQ( 0x22, degrees( 0x49 ) );
    select( 0x70, 0x00 );
    EXPECT_EQ( -1, degrees( 0x49 ) );
}

TEST_F( Pca9548Test, InnerMuxKeepsItsChannelWhileUnreachable ) {
    select( 0x70, 0x04 );
    select( 0x71, 0x08 );
    select( 0x70, 0x00 );
    select( 0x70, 0x04 );
    EXPECT_EQ( 0x22, degrees( 0x49 ) );
}

TEST_F( Pca9548Test, LastByteOfAWriteStays ) {
    const std::array<uint8_t, 2> bytes = { 0x01, 0x02 };
    bus->write( 0x70, bytes );
    EXPECT_EQ( 0x33, degrees( 0x48 ) );
}

TEST_F( Pca9548Test, AbsentMuxCutsOffItsChannels ) {
    std::string error;
    select( 0x70, 0x01 );
    board.set( "outer.present", "0", error );
    EXPECT_EQ( -1, degrees( 0x48 ) );
    EXPECT_EQ( -1, degrees( 0x70 ) );
}

TEST_F( Pca9548Test, ComesBackWithItsChannelsOff ) {
    std::string error;
    select( 0x70, 0x01 );
    board.set( "outer.present", "0", error );
    board.set( "outer.present", "1", error );
    EXPECT_EQ( 0x00, degrees( 0x70 ) );
}

TEST_F( Pca9548Test, ControlRegisterIsAKnob ) {
    std::string value;
    std::string error;
    select( 0x70, 0x84 );
    EXPECT_TRUE( board.get( "outer.control", value, error ) );
    EXPECT_EQ( "0x84", value );
}
