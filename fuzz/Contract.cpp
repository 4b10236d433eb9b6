#include "fuzz/Contract.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <fstream>
#include <vector>

namespace Fuzz {

namespace {

std::vector<std::string> linesOf( const char *path ) {
    std::ifstream file( path );
    std::vector<std::string> lines;
    for ( std::string line; std::getline( file, line ); ) {
        if ( !line.empty() && line.front() != '#' ) {
            lines.push_back( line );
        }
    }
    require( !lines.empty(), path );
    return lines;
}

int depth = 0; // of underContract()

bool isExceptionOfContract( const std::string &text, const std::string &situation ) {
    static const std::vector<std::string> beginnings = linesOf( FUZZ_DIR "/exceptions.txt" );
    const std::string inSituation = situation + ": " + text;
    return std::any_of( beginnings.begin(), beginnings.end(), [&]( const std::string &each ) {
        return text.starts_with( each ) || inSituation.starts_with( each );
    } );
}

} // namespace

bool isAssertionOfContract( std::string_view text, std::string_view file ) {
    static const std::vector<std::string> lines = linesOf( FUZZ_DIR "/assertions.txt" );
    const std::string_view name = file.substr( file.find_last_of( '/' ) + 1 );
    const std::string inFile = std::string( name ) + ": " + std::string( text );
    return std::any_of( lines.begin(), lines.end(),
                        [&]( const std::string &each ) { return each == text || each == inFile; } );
}

void underContract( const std::function<void()> &work, const std::string &situation ) {
    ++depth;
    try {
        work();
    } catch ( const AssertionOfContract & ) {
    } catch ( const std::exception &error ) {
        if ( !isExceptionOfContract( error.what(), situation ) ) {
            throw;
        }
    }
    --depth;
}

bool feedsTheLibrary() {
    return depth > 0;
}

void require( bool condition, const char *what ) {
    if ( !condition ) {
        fprintf( stderr, "does not hold: %s\n", what );
        abort();
    }
}

} // namespace Fuzz
