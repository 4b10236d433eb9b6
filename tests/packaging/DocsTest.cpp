// Pages lead where they say, and quote messages that exist.
#include "tests/packaging/Help.h"

#include <filesystem>
#include <gtest/gtest.h>
#include <regex>
#include <sstream>
#include <string>
#include <vector>

namespace {

namespace fs = std::filesystem;

const fs::path root = SOURCE_DIR;

std::vector<fs::path> filesBelow( const std::vector<std::string> &folders,
                                  const std::string &extension ) {
    std::vector<fs::path> files;
    for ( const std::string &folder : folders ) {
        for ( const auto &entry : fs::recursive_directory_iterator( root / folder ) ) {
            if ( entry.path().extension() == extension ) {
                files.push_back( entry.path() );
            }
        }
    }
    return files;
}

std::vector<fs::path> pages() {
    std::vector<fs::path> files = filesBelow( { "docs", "boards" }, ".md" );
    for ( const auto &entry : fs::directory_iterator( root ) ) {
        if ( entry.path().extension() == ".md" ) {
            files.push_back( entry.path() );
        }
    }
    return files;
}

Words matches( const std::string &text, const std::string &expression ) {
    const std::regex regex( expression );
    return { std::sregex_token_iterator( text.begin(), text.end(), regex, 1 ), {} };
}

/// Names that headings of a page can be reached by.
Words anchorsOf( const fs::path &page ) {
    Words anchors;
    for ( std::string heading : matches( textOf( page ), "(?:^|\n)#+ ([^\n]+)" ) ) {
        heading = std::regex_replace( heading, std::regex( "[^A-Za-z0-9 _-]" ), "" );
        for ( char &each : heading ) {
            each = each == ' ' ? '-' : static_cast<char>( tolower( each ) );
        }
        anchors.insert( heading );
    }
    return anchors;
}

TEST( DocsTest, EachLinkLeadsSomewhere ) {
    for ( const fs::path &page : pages() ) {
        for ( const std::string &link : matches( textOf( page ), R"(\]\(([^) ]+)\))" ) ) {
            if ( link.find( "://" ) != std::string::npos ) {
                continue;
            }
            const size_t hash = std::min( link.find( '#' ), link.size() );
            const fs::path target = hash == 0 ? page : page.parent_path() / link.substr( 0, hash );
            EXPECT_TRUE( fs::exists( target ) ) << page << ": " << link;
            if ( hash < link.size() ) {
                EXPECT_TRUE( anchorsOf( target ).contains( link.substr( hash + 1 ) ) )
                    << page << ": " << link;
            }
        }
    }
}

TEST( DocsTest, EachPageIsInTheIndex ) {
    const std::string index = textOf( root / "docs/README.md" );
    for ( const fs::path &page : filesBelow( { "docs" }, ".md" ) ) {
        const std::string name = fs::relative( page, root / "docs" );
        EXPECT_TRUE( name == "README.md" || index.find( "(" + name + ")" ) != std::string::npos )
            << name;
    }
}

/// The first words of a message that no case puts in: the system's own reasons come behind them.
std::string fixedPart( const std::string &message ) {
    constexpr size_t telling = 8;
    static const std::regex placeholder( "'?[A-Z]{4,}'?|\\([^)]*[A-Z]{4,}[^)]*\\)" );
    std::sregex_token_iterator piece( message.begin(), message.end(), placeholder, -1 );
    for ( ; piece != std::sregex_token_iterator(); ++piece ) {
        if ( piece->length() >= static_cast<std::ptrdiff_t>( telling ) ) {
            return piece->str();
        }
    }
    return message;
}

TEST( DocsTest, EachMessageOfTroubleshootingIsInTheCode ) {
    std::string code;
    for ( const fs::path &file :
          filesBelow( { "KavraGeneric", "KavraUtil", "EmulatedBoard", "SmbusServer", "HostTool" },
                      ".cpp" ) ) {
        // Texts that the formatter broke over lines are whole again.
        code += std::regex_replace( textOf( file ), std::regex( "\"\\s+\"" ), "" );
    }
    std::istringstream lines( textOf( root / "docs/troubleshooting.md" ) );
    int messages = 0;
    for ( std::string line; std::getline( lines, line ); ) {
        std::smatch row;
        if ( std::regex_match( line, row,
                               std::regex( "\\| `([^`]+)` \\| .* \\| .* \\| .* \\|" ) ) ) {
            ++messages;
            const std::string text = fixedPart( row[1] );
            EXPECT_NE( std::string::npos, code.find( text ) ) << row[1] << ": '" << text << "'";
        }
    }
    EXPECT_LE( 20, messages );
}

TEST( DocsTest, PackagesHaveTheVersionOfTheBuild ) {
    const Words ours = matches( textOf( root / "CMakeLists.txt" ), "VERSION ([0-9.]+) LANGUAGES" );
    const Words packaged = matches( textOf( root / "debian/changelog" ).substr( 0, 80 ),
                                    "^kavra-drivers-vundat \\(([0-9.]+)\\)" );
    EXPECT_FALSE( ours.empty() );
    EXPECT_EQ( ours, packaged );
}

} // namespace
