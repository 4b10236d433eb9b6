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

    std::string answer( std::string_view line ) { return controlAnswer( world, line ); }

    EmulatedBoard::Board board;
    FaultList faults;
    const World world{ board, faults };
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
    EXPECT_EQ( "error: no command 'lsit'; there are: list, get, set, fault, clear, help\n",
               answer( "lsit" ) );
    EXPECT_EQ( "error: no command ''; there are: list, get, set, fault, clear, help\n",
               answer( "" ) );
}

TEST_F( ControlCommandsTest, WrongNumberOfWordsIsAnsweredWithTheUsage ) {
    EXPECT_EQ( "error: usage: get KNOB\n", answer( "get" ) );
    EXPECT_EQ( "error: usage: set KNOB VALUE\n", answer( "set inlet.temperature" ) );
    EXPECT_EQ( "error: usage: set KNOB VALUE\n", answer( "set inlet.temperature 1 2" ) );
    EXPECT_EQ( "error: usage: list\n", answer( "list inlet" ) );
}

TEST_F( ControlCommandsTest, HelpNamesEveryCommand ) {
    const std::string text = answer( "help" );
    for ( const char *usage : { "list ", "get KNOB ", "set KNOB VALUE ", "help [KNOB|fault] ",
                                "fault [FAULT] ", "clear [NUMBER] " } ) {
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

TEST_F( ControlCommandsTest, FaultIsAddedListedAndCleared ) {
    EXPECT_EQ( "ok\n", answer( "fault bus 3 chip 0x48 nack count 2" ) );
    EXPECT_EQ( "ok\n", answer( "fault server hang-up" ) );
    EXPECT_EQ( "1 hits 0: bus 3 chip 0x48 nack count 2\n2 hits 0: server hang-up\nok\n",
               answer( "fault" ) );
    EXPECT_EQ( "ok\n", answer( "clear 1" ) );
    EXPECT_EQ( "2 hits 0: server hang-up\nok\n", answer( "fault" ) );
    EXPECT_EQ( "ok\n", answer( "clear" ) );
    EXPECT_EQ( "ok\n", answer( "fault" ) );
}

TEST_F( ControlCommandsTest, WrongFaultIsExplained ) {
    EXPECT_EQ( "error: what goes wrong is missing; there are: hang-up, hang-up-after, slow, "
               "responses, fail\n",
               answer( "fault server" ) );
    EXPECT_EQ( "error: no fault '7'; 'fault' lists them\n", answer( "clear 7" ) );
    EXPECT_EQ( "error: no fault 'x'; 'fault' lists them\n", answer( "clear x" ) );
}

TEST_F( ControlCommandsTest, FaultsAreBounded ) {
    for ( size_t i = 0; i < FaultList::mostFaults; ++i ) {
        ASSERT_EQ( "ok\n", answer( "fault bus any nack" ) );
    }
    EXPECT_EQ( "error: there are 256 faults; clear some\n", answer( "fault bus any nack" ) );
}

TEST_F( ControlCommandsTest, HelpOfFaultListsEveryKind ) {
    const std::string text = answer( "help fault" );
    for ( const char *line : { "fault bus N|any", "\nnack ", "\nslow MS ", "\nfail " } ) {
        EXPECT_NE( std::string::npos, text.find( line ) ) << line;
    }
}

TEST( ControlWithoutBoardTest, KnobsAreRefusedAndFaultsAreNot ) {
    EmulatedBoard::Board none;
    FaultList faults;
    const World world{ none, faults };
    EXPECT_EQ( "error: the busses are real or recorded: there are no knobs\n",
               controlAnswer( world, "list" ) );
    EXPECT_EQ( "error: the busses are real or recorded: there are no knobs\n",
               controlAnswer( world, "help inlet.present" ) );
    EXPECT_EQ( "ok\n", controlAnswer( world, "fault bus any nack" ) );
}
