/// The tables against the classes that they are made for, and against the page that explains them.
#include "HostTool/Metrics/Families.h"
#include "HostTool/Host/Classes.h"

#include <gtest/gtest.h>

#include <fstream>
#include <iterator>
#include <regex>
#include <set>

using namespace HostTool;
using namespace HostTool::Metrics;

/// "fan.speed" of everything that some family takes.
static std::set<std::string> exposedColumns() {
    std::set<std::string> all;
    const auto add = [&]( DeviceClass deviceClass, const std::string &key ) {
        all.insert( std::string( nameOf( deviceClass ) ) + "." + key );
    };
    for ( const ValueFamily &each : valueFamilies() ) {
        add( each.deviceClass, each.key );
    }
    for ( const InfoFamily &each : infoFamilies() ) {
        for ( const InfoFamily::Label &label : each.labels ) {
            add( each.deviceClass, label.key );
        }
    }
    return all;
}

static std::string page() {
    std::ifstream file( SOURCE_DIR "/docs/metrics.md" );
    return { std::istreambuf_iterator<char>( file ), {} };
}

TEST( FamiliesTest, EachColumnIsExposedExceptLongTexts ) {
    std::set<std::string> columns;
    for ( const ClassName &each : classNames ) {
        for ( const Column &column : rowOf( each.deviceClass ).columns ) {
            columns.insert( std::string( each.name ) + "." + column.key );
        }
    }
    std::set<std::string> expected = exposedColumns();
    expected.insert( { "fan.debug", "slot.identity" } );
    EXPECT_EQ( columns, expected );
}

TEST( FamiliesTest, OwnFamiliesStandInTheOrderOfTheirNames ) {
    for ( size_t i = 0; i < ownFamilies().size(); ++i ) {
        EXPECT_EQ( i, static_cast<size_t>( ownFamilies()[i].own ) ) << ownFamilies()[i].name;
    }
}

TEST( FamiliesTest, NoTwoHaveOneName ) {
    std::set<std::string> names;
    for ( const Description &each : descriptions() ) {
        EXPECT_TRUE( names.insert( each.name ).second ) << each.name;
    }
}

TEST( FamiliesTest, PageHasThemAllInTheirOrder ) {
    std::string rows;
    for ( const Description &each : descriptions() ) {
        rows += "| `" + each.name + "` | " + each.labels + " | " + each.help + " |\n";
    }
    const std::string text = page();
    EXPECT_NE( std::string::npos, text.find( rows ) ) << rows;
}

TEST( FamiliesTest, PageSpeaksOfNoOthers ) {
    std::set<std::string> known;
    for ( const Description &each : descriptions() ) {
        known.insert( each.name );
    }
    const std::string text = page();
    const std::regex word( "kavra_[a-z_]+" );
    for ( std::sregex_iterator at( text.begin(), text.end(), word ); at != std::sregex_iterator();
          ++at ) {
        EXPECT_TRUE( known.contains( at->str() ) ) << at->str();
    }
}
