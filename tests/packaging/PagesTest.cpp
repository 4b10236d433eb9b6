// The manual pages are well formed and say what the programs and documents have.
#include "EmulatedBoard/Chips.h"
#include "SmbusServer/FaultScript.h"
#include "tests/packaging/Help.h"
#include "tests/support/RunProgram.h"

#include <filesystem>
#include <gtest/gtest.h>
#include <rapidjson/document.h>
#include <regex>
#include <sstream>
#include <string>

namespace {

namespace fs = std::filesystem;

const std::string folder = SOURCE_DIR "/packaging/man/";

std::string page( const std::string &name ) {
    return textOf( folder + name );
}

/// What the first group of an expression matches in a text.
Words allOf( const std::string &text, const std::string &expression ) {
    const std::regex regex( expression );
    return { std::sregex_token_iterator( text.begin(), text.end(), regex, 1 ), {} };
}

/// Options that a page explains, with their dashes.
Words optionsOf( const std::string &name ) {
    Words options;
    std::istringstream lines( page( name ) );
    for ( std::string line; std::getline( lines, line ); ) {
        if ( line.starts_with( ".It Fl" ) ) {
            for ( const std::string &option : allOf( line, "Fl ([a-z0-9-]+)" ) ) {
                options.insert( "-" + option );
            }
        }
    }
    return options;
}

/// Words that a page sets as commands or keys.
Words keysOf( const std::string &name ) {
    Words keys;
    std::istringstream lines( page( name ) );
    for ( std::string line; std::getline( lines, line ); ) {
        if ( line.starts_with( ".Cm " ) || line.starts_with( ".It Cm " ) ) {
            const Words found = allOf( line, "([A-Za-z0-9_-]+)" );
            keys.insert( found.begin(), found.end() );
        }
    }
    return keys;
}

TEST( PagesTest, EachPageIsWellFormed ) {
    if ( !fs::exists( "/usr/bin/mandoc" ) ) {
        GTEST_SKIP() << "mandoc is not installed";
    }
    for ( const fs::directory_entry &file : fs::directory_iterator( folder ) ) {
        const ProgramResult result =
            runProgram( { "/usr/bin/mandoc", "-Tlint", "-Wstyle", file.path() } );
        std::istringstream lines( result.out + result.err );
        for ( std::string line; std::getline( lines, line ); ) {
            // Our own pages are installed nowhere yet; another test follows these.
            EXPECT_TRUE( line.find( "referenced manual not found" ) != std::string::npos ) << line;
        }
    }
}

TEST( PagesTest, EachPageReferredToIsThere ) {
    for ( const fs::directory_entry &file : fs::directory_iterator( folder ) ) {
        const std::string text = textOf( file.path() );
        for ( const std::string &other : allOf( text, "\n\\.Xr ([a-z0-9-]+ [0-9])" ) ) {
            const std::string path = folder + std::regex_replace( other, std::regex( " " ), "." );
            EXPECT_TRUE( fs::exists( path ) ) << file.path() << ": " << other;
        }
    }
}

TEST( PagesTest, EachPageIsInstalled ) {
    const std::string rules = textOf( SOURCE_DIR "/cmake/Install.cmake" );
    for ( const fs::directory_entry &file : fs::directory_iterator( folder ) ) {
        EXPECT_NE( std::string::npos, rules.find( file.path().filename() ) ) << file.path();
    }
}

TEST( PagesTest, KavractlHasTheOptionsOfItsHelp ) {
    EXPECT_EQ( optionsIn( helpOf( "kavractl" ) ), optionsOf( "kavractl.1" ) );
}

TEST( PagesTest, KavractlHasTheCommandsOfItsHelp ) {
    EXPECT_EQ( commandsIn( helpOf( "kavractl" ) ),
               allOf( page( "kavractl.1" ), "\n\\.It Cm ([a-z]+)" ) );
}

TEST( PagesTest, ConformanceHasTheOptionsOfItsHelp ) {
    EXPECT_EQ( optionsIn( helpOf( "kavra-conformance" ) ), optionsOf( "kavra-conformance.1" ) );
}

TEST( PagesTest, ServerHasTheOptionsOfItsHelp ) {
    EXPECT_EQ( optionsIn( helpOf( "kavra-smbusd" ) ), optionsOf( "kavra-smbusd.8" ) );
}

TEST( PagesTest, FaultsHasEveryKind ) {
    const Words keys = keysOf( "kavra-faults.5" );
    std::istringstream help( SmbusServer::faultHelp() );
    for ( std::string line; std::getline( help, line ); ) {
        const std::string kind = line.substr( 0, line.find( ' ' ) );
        EXPECT_TRUE( keys.contains( kind ) ) << kind;
    }
}

TEST( PagesTest, EmulationHasEveryChip ) {
    const Words keys = keysOf( "kavra-emulation.5" );
    for ( const EmulatedBoard::ChipType &type : EmulatedBoard::chipTypes() ) {
        EXPECT_TRUE( keys.contains( std::string( type.name ) ) ) << type.name;
    }
}

void collectKeys( const rapidjson::Value &schema, Words &keys ) {
    if ( schema.IsArray() ) {
        for ( const rapidjson::Value &each : schema.GetArray() ) {
            collectKeys( each, keys );
        }
    }
    if ( !schema.IsObject() ) {
        return;
    }
    for ( const auto &member : schema.GetObject() ) {
        const std::string name = member.name.GetString();
        if ( name == "properties" && member.value.IsObject() ) {
            for ( const auto &property : member.value.GetObject() ) {
                keys.insert( property.name.GetString() );
            }
        }
        collectKeys( member.value, keys );
    }
}

class SchemaPagesTest : public testing::TestWithParam<std::string> {};

TEST_P( SchemaPagesTest, PageHasEveryKeyOfTheSchema ) {
    rapidjson::Document schema;
    schema.Parse( textOf( SOURCE_DIR "/schemas/" + GetParam() + ".schema.json" ).c_str() );
    ASSERT_TRUE( schema.IsObject() );
    Words wanted;
    collectKeys( schema, wanted );

    const Words there = keysOf( "kavra-" + GetParam() + ".5" );

    for ( const std::string &key : wanted ) {
        EXPECT_TRUE( there.contains( key ) ) << key;
    }
}

class FormatPagesTest : public testing::TestWithParam<std::string> {};

TEST_P( FormatPagesTest, PageHasEveryKeyOfTheFormatsTables ) {
    const std::string format = textOf( SOURCE_DIR "/docs/formats/" + GetParam() + ".md" );
    const size_t start = format.find( "\n## Keys\n" );
    const std::string tables = format.substr( start, format.find( "\n## ", start + 1 ) - start );
    const Words wanted = allOf( tables, "\n\\| `([a-z_]+)` \\|" );
    ASSERT_LE( 5U, wanted.size() );

    const Words there = keysOf( "kavra-" + GetParam() + ".5" );

    for ( const std::string &key : wanted ) {
        EXPECT_TRUE( there.contains( key ) ) << key;
    }
}

INSTANTIATE_TEST_SUITE_P( Formats, FormatPagesTest, testing::Values( "emulation", "i2c-map" ) );
INSTANTIATE_TEST_SUITE_P( Formats, SchemaPagesTest,
                          testing::Values( "device-arguments", "devices", "snapshot",
                                           "topology" ) );

} // namespace
