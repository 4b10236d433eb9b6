#include "EmulatedBoard/Document.h"

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>
#include <iterator>
#include <string>
#include <vector>

using namespace EmulatedBoard;

static const std::filesystem::path folder = TEST_DATA_DIR "/emulation";

static std::string contents( const std::filesystem::path &file ) {
    std::ifstream stream( file, std::ios::binary );
    return { std::istreambuf_iterator<char>( stream ), {} };
}

static std::vector<std::string> documents( const char *kind ) {
    std::vector<std::string> names;
    for ( const auto &entry : std::filesystem::directory_iterator( folder / kind ) ) {
        if ( entry.path().extension() == ".json" ) {
            names.push_back( entry.path().stem() );
        }
    }
    std::ranges::sort( names );
    return names;
}

/// The board as text: the busses with how many chips each has directly, then the knobs.
static std::string describe( const Board &board ) {
    std::string text;
    for ( const auto &[name, bus] : board.busses() ) {
        text += "bus " + std::to_string( name.master ) + " " + std::to_string( name.pci ) + " " +
                std::to_string( name.accelerator ) + " " + std::to_string( name.bus ) + ": " +
                std::to_string( bus->segment().chips().size() ) + "\n";
    }
    for ( const Board::NamedKnob &each : board.knobs() ) {
        text += each.name + " " + each.knob.get() + "\n";
    }
    return text;
}

class GoodDocumentTest : public testing::TestWithParam<std::string> {};

TEST_P( GoodDocumentTest, MakesTheBoardBesideIt ) {
    const auto file = folder / "pass" / ( GetParam() + ".json" );
    const auto expected = folder / "pass" / ( GetParam() + ".txt" );
    EXPECT_EQ( contents( expected ), describe( loadBoard( file ) ) );
}

INSTANTIATE_TEST_SUITE_P( Files, GoodDocumentTest, testing::ValuesIn( documents( "pass" ) ),
                          []( const auto &each ) { return each.param; } );

class BadDocumentTest : public testing::TestWithParam<std::string> {};

TEST_P( BadDocumentTest, IsRefusedWithTheMessageBesideIt ) {
    const auto file = folder / "fail" / ( GetParam() + ".json" );
    const auto expected = folder / "fail" / ( GetParam() + ".txt" );
    try {
        parseBoard( contents( file ), GetParam() );
        FAIL() << "nothing wrong was found";
    } catch ( const DocumentError &error ) {
        EXPECT_EQ( contents( expected ), std::string( error.what() ) + "\n" );
    }
}

INSTANTIATE_TEST_SUITE_P( Files, BadDocumentTest, testing::ValuesIn( documents( "fail" ) ),
                          []( const auto &each ) { return each.param; } );

TEST( DocumentTest, FileThatCannotBeReadIsNamed ) {
    try {
        loadBoard( "/dev/null/b.json" );
        FAIL();
    } catch ( const DocumentError &error ) {
        EXPECT_STREQ( "/dev/null/b.json: cannot be read: Not a directory", error.what() );
    }
}

TEST( DocumentTest, FolderIsNoDocument ) {
    EXPECT_THROW( loadBoard( "/" ), DocumentError );
}

// Every length of a text is read: the board itself is too long for that.
TEST( DocumentTest, TextCutAnywhereIsRefusedAndNothingWorse ) {
    for ( const auto &file :
          { folder / "pass/transceivers_and_lamps.json",
            std::filesystem::path( SOURCE_DIR "/boards/VundaT/variants/tlv/emulation.json" ) } ) {
        const std::string whole = contents( file );
        const size_t end = whole.rfind( '}' );
        for ( size_t length = 0; length < end; ++length ) {
            EXPECT_THROW( parseBoard( whole.substr( 0, length ), "cut" ), DocumentError )
                << file << " " << length;
        }
    }
}

TEST( DocumentTest, DeepNestingIsRefused ) {
    EXPECT_THROW( parseBoard( std::string( 200'000, '[' ), "deep" ), DocumentError );
}

TEST( BoardOfThisSwitchTest, HasItsSixSensors ) {
    const Board board = loadBoard( SOURCE_DIR "/boards/VundaT/emulation.json" );
    std::string temperatures;
    for ( const Board::NamedKnob &each : board.knobs() ) {
        if ( each.name.ends_with( ".temperature" ) ) {
            temperatures += each.name + "=" + each.knob.get() + " ";
        }
    }
    EXPECT_EQ( "inlet.temperature=24.5 asic-left.temperature=41 asic-right.temperature=43.5 "
               "outlet.temperature=35 rear.temperature=33.5 cpu-board.temperature=38 ",
               temperatures );
}

class SuppliesOfThisSwitchTest : public testing::TestWithParam<std::string> {
  protected:
    SuppliesOfThisSwitchTest()
        : board( loadBoard( SOURCE_DIR "/boards/VundaT/" + GetParam() + "emulation.json" ) ) {}

    std::string get( const std::string &name ) const {
        std::string value;
        std::string error;
        return board.get( name, value, error ) ? value : error;
    }

    Board board;
};

TEST_P( SuppliesOfThisSwitchTest, LeaveWithEverythingThatIsOnThem ) {
    std::string error;
    for ( const std::string supply : { "psu1", "psu2" } ) {
        EXPECT_EQ( "0x00", get( "slots.status" ) );
        EXPECT_TRUE( board.set( supply + ".present", "0", error ) ) << error;
        EXPECT_EQ( supply == "psu1" ? "0x0a" : "0x05", get( "slots.status" ) );
        if ( const Chip *eeprom = board.findChip( supply + "-eeprom" ) ) {
            EXPECT_FALSE( eeprom->present() );
            EXPECT_EQ( get( supply + ".serial" ), get( supply + "-eeprom.serial" ) );
        }
        EXPECT_TRUE( board.set( supply + ".present", "1", error ) ) << error;
    }
}

INSTANTIATE_TEST_SUITE_P( Boards, SuppliesOfThisSwitchTest,
                          testing::Values( "", "variants/tlv/", "variants/ipmitool/",
                                           "variants/ipmitool_raw/", "variants/wedge/" ) );
