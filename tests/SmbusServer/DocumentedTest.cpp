// A knob or a fault that no page names is as good as none.
#include "EmulatedBoard/Chips.h"
#include "SmbusServer/FaultScript.h"

#include <algorithm>
#include <fstream>
#include <gtest/gtest.h>
#include <sstream>
#include <string>

using namespace SmbusServer;

static std::string page( const std::string &path ) {
    std::ostringstream text;
    text << std::ifstream( SOURCE_DIR "/docs/" + path ).rdbuf();
    return text.str();
}

/// What stands below a heading, up to the next.
static std::string section( const std::string &text, const std::string &heading ) {
    const size_t start = text.find( "\n## " + heading + "\n" );
    return start == std::string::npos
               ? std::string()
               : text.substr( start, text.find( "\n## ", start + 1 ) - start );
}

/// Whether a row of a table begins with the name; a row may begin with several.
static bool hasRow( const std::string &text, const std::string &name ) {
    std::istringstream lines( text );
    for ( std::string line; std::getline( lines, line ); ) {
        if ( line.starts_with( "| `" ) &&
             line.substr( 0, line.find( " | " ) ).find( "`" + name + "`" ) != std::string::npos ) {
            return true;
        }
    }
    return false;
}

// Knobs of equal parts of one chip share a row: trayN_present.
static std::string numbered( std::string name ) {
    std::replace_if(
        name.begin(), name.end(), []( char c ) { return c >= '0' && c <= '9'; }, 'N' );
    return name;
}

TEST( DocumentedTest, EveryKnobHasItsRowInItsChipsSection ) {
    const std::string text = page( "emulated-board.md" );
    for ( const EmulatedBoard::ChipType &type : EmulatedBoard::chipTypes() ) {
        const std::string own =
            section( text, std::string( type.name ) ) + section( text, "Knobs of every chip" );
        for ( const EmulatedBoard::Knob &knob : type.create( 0x48 )->knobs() ) {
            EXPECT_TRUE( hasRow( own, knob.name ) || hasRow( own, numbered( knob.name ) ) )
                << type.name << ": " << knob.name;
        }
    }
}

TEST( DocumentedTest, EveryFaultHasItsRow ) {
    const std::string text = page( "formats/faults.md" );
    std::istringstream help( faultHelp() );
    int kinds = 0;
    for ( std::string line; std::getline( help, line ); ) {
        const std::string kind = line.substr( 0, line.find( ' ' ) );
        if ( kind == "fault" ) {
            continue;
        }
        ++kinds;
        const bool named =
            hasRow( text, kind ) || hasRow( text, kind + " MS" ) || hasRow( text, kind + " N" );
        EXPECT_TRUE( named ) << kind;
    }
    EXPECT_EQ( 18, kinds );
}
