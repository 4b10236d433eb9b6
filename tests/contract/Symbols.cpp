#include "tests/contract/Symbols.h"

#include <algorithm>
#include <cstdio>
#include <fstream>
#include <istream>
#include <sstream>
#include <stdexcept>

namespace {

std::vector<std::string> lines( std::istream &stream ) {
    std::vector<std::string> found;
    for ( std::string line; std::getline( stream, line ); ) {
        found.push_back( line );
    }
    return found;
}

std::vector<std::string> outputOf( const std::string &command ) {
    std::FILE *const pipe = ::popen( command.c_str(), "r" );
    if ( !pipe ) {
        throw std::runtime_error( "cannot run " + command );
    }
    std::stringstream output;
    char part[4096];
    for ( size_t count; ( count = std::fread( part, 1, sizeof part, pipe ) ) > 0; ) {
        output.write( part, static_cast<std::streamsize>( count ) );
    }
    if ( ::pclose( pipe ) != 0 ) {
        throw std::runtime_error( "failed: " + command );
    }
    return lines( output );
}

// nm --format=posix: name, kind, and for a defined one its place.
std::vector<Symbols::Symbol> nm( const std::string &option ) {
    std::vector<Symbols::Symbol> found;
    for ( const std::string &line :
          outputOf( "nm --dynamic --format=posix " + option + " '" KAVRA_LIBRARY_FILE "'" ) ) {
        Symbols::Symbol symbol{};
        std::istringstream( line ) >> symbol.name >> symbol.kind;
        symbol.name.erase( std::min( symbol.name.find( '@' ), symbol.name.size() ) );
        found.push_back( symbol );
    }
    return found;
}

} // namespace

namespace Symbols {

std::vector<Symbol> exported() {
    return nm( "--defined-only" );
}

std::vector<Symbol> imported() {
    return nm( "--undefined-only" );
}

std::vector<std::string> strongExportsForPeople() {
    return outputOf( "'" SOURCE_DIR "/scripts/exports' '" KAVRA_LIBRARY_FILE "'" );
}

std::vector<std::string> importsForPeople() {
    return outputOf( "'" SOURCE_DIR "/scripts/imports' \"$(dirname '" KAVRA_LIBRARY_FILE "')\"" );
}

std::vector<std::string> linesOfFile( const std::string &path ) {
    std::ifstream file( path );
    return lines( file );
}

} // namespace Symbols
