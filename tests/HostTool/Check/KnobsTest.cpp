// What check says of a knob's value, held to the emulated board.
#include "EmulatedBoard/Chips.h"
#include "EmulatedBoard/Document.h"
#include "tests/HostTool/Check/CheckFixture.h"

#include <string>
#include <vector>

using testing::ElementsAre;
using testing::HasSubstr;

namespace {

std::string boardWith( const std::string &type, const std::string &knob,
                       const std::string &value ) {
    return R"({ "busses": [ { "master": "I2C", "bus": 1, "chips": [ { "name": "chip", "type": ")" +
           type + R"(", "address": 72, "set": { ")" + knob + "\": " + value + " } } ] } ] }";
}

bool boardTakes( const std::string &document ) {
    try {
        EmulatedBoard::parseBoard( document, "emulation.json" );
        return true;
    } catch ( const EmulatedBoard::DocumentError & ) {
        return false;
    }
}

bool checkPasses( const std::string &document ) {
    HostTool::Check::DocumentSet documents;
    documents.add( HostTool::Check::Kind::emulation, "emulation.json", document );
    return check( documents ).count( HostTool::Check::Severity::error ) == 0;
}

/// Each as it stands, a number for example, and as a text.
std::vector<std::string> values() {
    std::vector<std::string> all = { "0",       "1",
                                     "2",       "-1",
                                     "-0",      "0.0",
                                     "1.0",     "1e0",
                                     "01",      "55",
                                     "-55",     "-56",
                                     "125",     "126",
                                     "-55.1",   "264",
                                     "264.01",  "265",
                                     "550",     "551",
                                     "60",      "61",
                                     "3600",    "3601",
                                     "100",     "101",
                                     "255",     "256",
                                     "70",      "71",
                                     "-40",     "-41",
                                     "1e400",   "1e-400",
                                     "-1e-400", "1e3",
                                     "300",     "nan",
                                     "inf",     "-infinity",
                                     "",        " 1",
                                     "1 ",      "+1",
                                     ".5",      "5.",
                                     "1e",      "1e+2",
                                     "0x10",    "true",
                                     "false",   "null",
                                     "{}",      "[]",
                                     "f2b",     "b2f",
                                     "F2B",     "fru",
                                     "tlv",     "x",
                                     "ab",      "abc",
                                     "0g",      "ff:0",
                                     "ff:00",   "ff:0000",
                                     "100:00",  "00000000000000000000ff:00",
                                     ":00",     "00:",
                                     "0:0a:0b", "2.50",
                                     "12e4",    "12345678901234567890123456789012345678901",
                                     "\\u0000", "a\\u0000",
                                     "\\u00e9", "\\n",
                                     "1\\u0000" };
    for ( const size_t length : { 2U, 3U, 4U, 5U, 16U, 17U, 32U, 33U, 40U, 41U } ) {
        all.emplace_back( length, '~' );
    }
    for ( const size_t length : { 512U, 514U } ) {
        all.emplace_back( length, 'f' );
    }
    return all;
}

} // namespace

TEST( KnobsTest, CheckPassesWhatTheBoardTakes ) {
    const std::vector<std::string> all = values();
    for ( const EmulatedBoard::ChipType &type : EmulatedBoard::chipTypes() ) {
        constexpr uint8_t address = 0x48;
        for ( const EmulatedBoard::Knob &knob : type.create( address )->knobs() ) {
            if ( !knob.set ) {
                continue;
            }
            for ( const std::string &value : all ) {
                for ( const std::string &form : { value, "\"" + value + "\"" } ) {
                    const std::string document =
                        boardWith( std::string( type.name ), knob.name, form );
                    EXPECT_EQ( boardTakes( document ), checkPasses( document ) ) << document;
                }
            }
        }
    }
}

TEST_F( CheckTest, AKnobOutOfRangeIsToldAsATextAsWell ) {
    emulation( boardWith( "LM75", "temperature", "\"300\"" ) );
    EXPECT_THAT( report(), HasSubstr( "error: \"temperature\" cannot be \"300\" [knob-value]\n"
                                      "    hint: Temperature at the sensor, from -55 to 125" ) );
}

TEST_F( CheckTest, WhatTheServerReadsDigitByDigit ) {
    emulation( R"({ "busses": [ { "master": "I2C", "bus": -0, "chips": [
        { "name": "psu\u0000", "type": "LM75", "address": "0x48\u0000",
          "set": { "temperature": -0 } } ] } ] })" );
    EXPECT_THAT( rules(), ElementsAre( "wrong-value", "wrong-value", "wrong-value" ) );
}

TEST_F( CheckTest, TheServerReadsAHundredLevels ) {
    const auto deep = []( size_t levels ) {
        return boardWith( "SfpModule", "serial",
                          std::string( levels, '[' ) + std::string( levels, ']' ) );
    };
    constexpr size_t around = 6; // brackets of the board and the chip
    constexpr size_t deepest = 100;
    EXPECT_TRUE( boardTakes( deep( deepest - around ) ) );
    EXPECT_TRUE( checkPasses( deep( deepest - around ) ) );
    EXPECT_FALSE( boardTakes( deep( deepest - around + 1 ) ) );
    emulation( deep( deepest - around + 1 ) );
    EXPECT_THAT( rules(), ElementsAre( "too-deep" ) );
}

TEST_F( CheckTest, AKnobThatIsSetTwiceIsJudgedTwice ) {
    emulation( boardWith( "LM75", "temperature", "400, \"temperature\": 20" ) );
    EXPECT_THAT( rules(), ElementsAre( "duplicate-key", "knob-value" ) );
}
