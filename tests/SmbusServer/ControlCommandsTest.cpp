#include "SmbusServer/ControlCommands.h"
#include "EmulatedBoard/Lm75.h"

#include <gtest/gtest.h>
#include <memory>
#include <string>

using namespace SmbusServer;

class ControlCommandsTest : public testing::Test {
  protected:
    ControlCommandsTest() {
        board.add( board.newBus( {} )->segment(), "inlet",
                   std::make_unique<EmulatedBoard::Lm75>( uint8_t{ 0x48 } ) );
    }

    std::string answer( std::string_view line ) { return controlAnswer( board, line ); }

    EmulatedBoard::Board board;
};

TEST_F( ControlCommandsTest, ListShowsEveryKnobWithValueAndUnit ) {
    EXPECT_EQ( "inlet.temperature 25 °C\ninlet.thyst 75 °C\ninlet.tos 80 °C\ninlet.present 1\nok\n",
               answer( "list" ) );
}

TEST_F( ControlCommandsTest, GetShowsTheValueAlone ) {
    EXPECT_EQ( "25\nok\n", answer( "get inlet.temperature" ) );
}

TEST_F( ControlCommandsTest, SetTurnsTheKnob ) {
    EXPECT_EQ( "ok\n", answer( "set inlet.temperature 31.5" ) );
    EXPECT_EQ( "31.5\nok\n", answer( "get inlet.temperature" ) );
}

TEST_F( ControlCommandsTest, BlanksAndCarriageReturnsDoNotMatter ) {
    EXPECT_EQ( "ok\n", answer( "  set \t inlet.present   0 \r" ) );
    EXPECT_EQ( "0\nok\n", answer( "get inlet.present" ) );
}

TEST_F( ControlCommandsTest, ErrorSaysWhatIsAllowed ) {
    EXPECT_EQ( "error: inlet.temperature cannot be '400': it takes -55 to 125 °C\n",
               answer( "set inlet.temperature 400" ) );
    EXPECT_EQ( "error: no chip 'outlet'; there are: inlet\n", answer( "get outlet.temperature" ) );
    EXPECT_EQ( "error: no command 'lsit'; there are: list, get, set, help\n", answer( "lsit" ) );
    EXPECT_EQ( "error: no command ''; there are: list, get, set, help\n", answer( "" ) );
}

TEST_F( ControlCommandsTest, WrongNumberOfWordsIsAnsweredWithTheUsage ) {
    EXPECT_EQ( "error: usage: get KNOB\n", answer( "get" ) );
    EXPECT_EQ( "error: usage: set KNOB VALUE\n", answer( "set inlet.temperature" ) );
    EXPECT_EQ( "error: usage: set KNOB VALUE\n", answer( "set inlet.temperature 1 2" ) );
    EXPECT_EQ( "error: usage: list\n", answer( "list inlet" ) );
}

TEST_F( ControlCommandsTest, HelpNamesEveryCommand ) {
    const std::string text = answer( "help" );
    for ( const char *usage : { "list ", "get KNOB ", "set KNOB VALUE ", "help [KNOB] " } ) {
        EXPECT_NE( std::string::npos, text.find( usage ) ) << usage;
    }
    EXPECT_TRUE( text.ends_with( "\nok\n" ) );
}

TEST_F( ControlCommandsTest, HelpOfAKnobTellsWhatItIsAndTakes ) {
    EXPECT_EQ( "inlet.temperature: temperature at the sensor; it takes -55 to 125 °C\nok\n",
               answer( "help inlet.temperature" ) );
    EXPECT_EQ( "inlet.tos: over-temperature limit as written to the chip; it is read only\nok\n",
               answer( "help inlet.tos" ) );
    EXPECT_EQ( "error: no chip 'x'; there are: inlet\n", answer( "help x" ) );
}
