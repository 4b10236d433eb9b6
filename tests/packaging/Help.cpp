#include "tests/packaging/Help.h"

#include "tests/support/RunProgram.h"

#include <fstream>
#include <regex>
#include <sstream>
#include <stdexcept>

std::string helpOf( const std::string &program ) {
    const ProgramResult result = runProgram( { BINARY_DIR "/bin/" + program, "--help" } );
    if ( result.status != 0 ) {
        throw std::runtime_error( program + " --help: " + result.err );
    }
    return result.out;
}

/// The part of each option's line that stands in front of its explanation.
static std::set<std::string> optionHeads( const std::string &help ) {
    static const std::regex head( "^  (-.*?)(  .*)?$" );
    std::set<std::string> heads;
    std::istringstream lines( help );
    std::smatch found;
    for ( std::string line; std::getline( lines, line ); ) {
        if ( std::regex_match( line, found, head ) ) {
            heads.insert( found[1] );
        }
    }
    return heads;
}

static Words optionsOfHeads( const std::set<std::string> &heads ) {
    static const std::regex option( "--?[a-z][a-z0-9-]*" );
    Words options;
    for ( const std::string &head : heads ) {
        options.insert( std::sregex_token_iterator( head.begin(), head.end(), option ), {} );
    }
    return options;
}

Words optionsIn( const std::string &help ) {
    return optionsOfHeads( optionHeads( help ) );
}

Words optionsWithValueIn( const std::string &help ) {
    std::set<std::string> heads = optionHeads( help );
    std::erase_if( heads, []( const std::string &head ) {
        return !std::regex_match( head, std::regex( "--[a-z0-9-]+ [A-Z]+.*" ) );
    } );
    return optionsOfHeads( heads );
}

Words commandsIn( const std::string &help ) {
    Words commands;
    std::istringstream lines( help );
    std::string line;
    while ( std::getline( lines, line ) && line != "Commands:" ) {
    }
    while ( std::getline( lines, line ) && !line.empty() ) {
        std::istringstream( line ) >> line;
        commands.insert( line );
    }
    return commands;
}

std::string textOf( const std::string &path ) {
    std::ifstream file( path );
    return { std::istreambuf_iterator<char>( file ), {} };
}
