#include "EmulatedBoard/Board.h"
#include "EmulatedBoard/Chips.h"
#include "EmulatedBoard/Lm75.h"

#include <gtest/gtest.h>
#include <memory>
#include <set>
#include <string>

using namespace EmulatedBoard;

class BoardTest : public testing::Test {
  protected:
    BoardTest() {
        segment = &board.newBus( { .bus = 3 } )->segment();
        board.add( *segment, "inlet", std::make_unique<Lm75>( uint8_t{ 0x48 } ) );
    }

    std::string get( std::string_view name ) {
        std::string value;
        std::string error;
        return board.get( name, value, error ) ? value : error;
    }

    std::string set( std::string_view name, std::string_view value ) {
        std::string error;
        return board.set( name, value, error ) ? "ok" : error;
    }

    Board board;
    Segment *segment;
};

TEST_F( BoardTest, BusIsFoundByAllFourParts ) {
    EXPECT_NE( nullptr, board.findBus( { .bus = 3 } ) );
    EXPECT_EQ( nullptr, board.findBus( { .master = 1, .bus = 3 } ) );
    EXPECT_EQ( nullptr, board.findBus( { .pci = 1, .bus = 3 } ) );
    EXPECT_EQ( nullptr, board.findBus( { .accelerator = 1, .bus = 3 } ) );
    EXPECT_EQ( nullptr, board.findBus( { .bus = 4 } ) );
}

TEST_F( BoardTest, SecondBusOfANameIsRefused ) {
    EXPECT_EQ( nullptr, board.newBus( { .bus = 3 } ) );
}

TEST_F( BoardTest, SecondChipOfANameIsRefused ) {
    EXPECT_EQ( nullptr, board.add( *segment, "inlet", std::make_unique<Lm75>( uint8_t{ 0x49 } ) ) );
    EXPECT_EQ( 1u, segment->chips().size() );
}

TEST_F( BoardTest, KnobKeepsWhatWasSet ) {
    EXPECT_EQ( "ok", set( "inlet.temperature", "31.5" ) );
    EXPECT_EQ( "31.5", get( "inlet.temperature" ) );
}

TEST_F( BoardTest, ValueOutsideItsRangeIsRefusedAndChangesNothing ) {
    set( "inlet.temperature", "20" );
    for ( const char *wrong : { "125.1", "-55.5", "warm", "", "1 2", "nan", "inf", "20C" } ) {
        EXPECT_EQ( "inlet.temperature cannot be '" + std::string( wrong ) +
                       "': it takes -55 to 125 °C",
                   set( "inlet.temperature", wrong ) );
    }
    EXPECT_EQ( "20", get( "inlet.temperature" ) );
}

TEST_F( BoardTest, SwitchTakes0And1 ) {
    EXPECT_EQ( "ok", set( "inlet.present", "0" ) );
    EXPECT_EQ( "0", get( "inlet.present" ) );
    EXPECT_EQ( "inlet.present cannot be 'yes': it takes 0 or 1", set( "inlet.present", "yes" ) );
}

TEST_F( BoardTest, ReadOnlyKnobSaysSo ) {
    EXPECT_EQ( "80", get( "inlet.tos" ) );
    EXPECT_EQ( "inlet.tos is read only", set( "inlet.tos", "70" ) );
}

TEST_F( BoardTest, UnknownKnobNamesThoseOfTheChip ) {
    EXPECT_EQ( "no knob 'inlet.heat'; there are: inlet.temperature inlet.thyst inlet.tos "
               "inlet.present",
               get( "inlet.heat" ) );
}

TEST_F( BoardTest, UnknownChipNamesThoseOfTheBoard ) {
    EXPECT_EQ( "no chip 'outlet'; there are: inlet", set( "outlet.temperature", "20" ) );
}

TEST( ChipsTest, EveryTypeIsFoundByItsOwnNameAndTakesItsAddress ) {
    std::set<std::string_view> names;
    for ( const ChipType &type : chipTypes() ) {
        EXPECT_TRUE( names.insert( type.name ).second ) << type.name;
        EXPECT_EQ( &type, findChipType( type.name ) );
        EXPECT_EQ( 0x2a, type.create( 0x2a )->address() );
    }
    EXPECT_EQ( nullptr, findChipType( "LM76" ) );
}

// A host that only asks whether somebody has this address.
TEST( ChipsTest, EveryChipAcknowledgesItsAddressAlone ) {
    for ( const ChipType &type : chipTypes() ) {
        EXPECT_TRUE( type.create( 0x48 )->write( {} ) ) << type.name;
    }
}

TEST( ChipsTest, EveryKnobHasHelpAndAValueThatItTakesBack ) {
    for ( const ChipType &type : chipTypes() ) {
        const auto chip = type.create( 0x48 );
        for ( const Knob &knob : chip->knobs() ) {
            EXPECT_NE( "", knob.help ) << type.name << " " << knob.name;
            EXPECT_EQ( knob.allowed.empty(), knob.set == nullptr );
            if ( knob.set ) {
                EXPECT_TRUE( knob.set( knob.get() ) ) << type.name << " " << knob.name;
            }
        }
    }
}
