// What the linter knows of drivers and chips, held to the library's and the board's own tables.
#include "EmulatedBoard/Chips.h"
#include "HostTool/Check/DriverTable.h"
#include "HostTool/Check/Rules.h"
#include "HostTool/Check/SchemaTexts.h"
#include "HostTool/Check/ShapeTable.h"
#include "HostTool/Check/Values.h"
#include "KavraGeneric/Drivers/Registry.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <set>
#include <string>
#include <vector>

using HostTool::Check::member;
using testing::UnorderedElementsAreArray;

namespace {

const rapidjson::Document &emulationSchema() {
    static const auto document = [] {
        rapidjson::Document parsed;
        const std::string_view text = HostTool::Check::schemaText( "emulation" );
        parsed.Parse( text.data(), text.size() );
        return parsed;
    }();
    return document;
}

/// What the schema says of the knobs of a type of chip.
const rapidjson::Value &knobsOf( const std::string &type ) {
    const rapidjson::Value &definitions = emulationSchema()["definitions"];
    const rapidjson::Value *set = &definitions[type.c_str()]["properties"]["set"];
    if ( set->HasMember( "$ref" ) ) {
        const std::string reference = ( *set )["$ref"].GetString();
        set = &definitions[reference.substr( reference.rfind( '/' ) + 1 ).c_str()];
    }
    return ( *set )["properties"];
}

std::vector<std::string> keysOf( const rapidjson::Value &object ) {
    std::vector<std::string> keys;
    for ( const auto &each : object.GetObject() ) {
        keys.emplace_back( each.name.GetString() );
    }
    return keys;
}

} // namespace

TEST( CheckTables, DriversAreThoseOfTheLibrary ) {
    std::vector<std::string> names;
    for ( const auto &[name, factory] : Drivers::drivers ) {
        names.push_back( name );
    }
    EXPECT_THAT( HostTool::Check::driverNames(), UnorderedElementsAreArray( names ) );
}

TEST( CheckTables, ChipsOfTheSchemaHaveTheKnobsThatCanBeSet ) {
    const rapidjson::Value &definitions = emulationSchema()["definitions"];
    std::vector<std::string> types;
    for ( const EmulatedBoard::ChipType &type : EmulatedBoard::chipTypes() ) {
        const std::string name( type.name );
        SCOPED_TRACE( name );
        types.push_back( name );
        constexpr uint8_t address = 0x48;
        std::vector<std::string> knobs;
        for ( const EmulatedBoard::Knob &knob : type.create( address )->knobs() ) {
            if ( knob.set ) {
                knobs.push_back( knob.name );
            }
        }
        ASSERT_TRUE( definitions.HasMember( name.c_str() ) );
        rapidjson::Document chip;
        chip.Parse( ( "{ \"type\": \"" + name + "\" }" ).c_str() );
        EXPECT_EQ( name, HostTool::Check::rowOf( HostTool::Check::Node::chip ).pick( chip ) );
        EXPECT_THAT( keysOf( knobsOf( name ) ), UnorderedElementsAreArray( knobs ) );
    }
    std::vector<std::string> known;
    for ( const auto &each : definitions["chip"]["properties"]["type"]["enum"].GetArray() ) {
        known.emplace_back( each.GetString() );
    }
    EXPECT_THAT( known, UnorderedElementsAreArray( types ) );
}

TEST( CheckTables, RulesHaveNamesOfTheirOwn ) {
    std::set<std::string> names;
    for ( const HostTool::Check::Rule &rule : HostTool::Check::rules() ) {
        EXPECT_TRUE( names.insert( rule.name ).second ) << rule.name;
        EXPECT_NE( std::string(), rule.sentence ) << rule.name;
        EXPECT_NE( std::string(), rule.hint ) << rule.name;
    }
}
