#include "SmbusServer/ControlCommands.h"

#include <algorithm>
#include <vector>

namespace SmbusServer {

using EmulatedBoard::Board;
using Words = std::vector<std::string_view>;

static std::string done( std::string data = {} ) {
    return data + "ok\n";
}

static std::string failed( const std::string &why ) {
    return "error: " + why + "\n";
}

static std::string list( Board &board, const Words & ) {
    std::string data;
    for ( const Board::NamedKnob &each : board.knobs() ) {
        data += each.name + " " + each.knob.get() +
                ( each.knob.unit.empty() ? "" : " " + each.knob.unit ) + "\n";
    }
    return done( std::move( data ) );
}

static std::string get( Board &board, const Words &words ) {
    std::string value;
    std::string error;
    return board.get( words[1], value, error ) ? done( value + "\n" ) : failed( error );
}

static std::string set( Board &board, const Words &words ) {
    std::string error;
    return board.set( words[1], words[2], error ) ? done() : failed( error );
}

static std::string help( Board &board, const Words &words );

struct Command {
    std::string_view name;
    size_t leastWords;
    size_t mostWords;
    std::string_view usage;
    std::string_view what;
    std::string ( *function )( Board &board, const Words &words );
};

static constexpr Command commands[] = {
    { "list", 1, 1, "list", "every knob with its value and unit, a line each", list },
    { "get", 2, 2, "get KNOB", "the value of a knob", get },
    { "set", 3, 3, "set KNOB VALUE", "turns a knob", set },
    { "help", 1, 2, "help [KNOB]", "the commands, or what a knob is and takes", help },
};

static std::string help( Board &board, const Words &words ) {
    std::string data;
    if ( words.size() == 1 ) {
        for ( const Command &each : commands ) {
            std::string usage( each.usage );
            usage.resize( 16, ' ' );
            data += usage + std::string( each.what ) + "\n";
        }
        return done( std::move( data ) );
    }
    std::string error;
    const Board::NamedKnob *found = board.findKnob( words[1], error );
    if ( found == nullptr ) {
        return failed( error );
    }
    return done( found->name + ": " + found->knob.help + "; " + allowedText( found->knob ) + "\n" );
}

static Words split( std::string_view line ) {
    constexpr std::string_view blanks = " \t\r";
    Words words;
    for ( size_t start = line.find_first_not_of( blanks ); start != std::string_view::npos; ) {
        const size_t end = std::min( line.find_first_of( blanks, start ), line.size() );
        words.push_back( line.substr( start, end - start ) );
        start = line.find_first_not_of( blanks, end );
    }
    return words;
}

std::string controlAnswer( Board &board, std::string_view line ) {
    const Words words = split( line );
    const std::string_view name = words.empty() ? std::string_view() : words[0];
    const auto *command = std::ranges::find( commands, name, &Command::name );
    if ( command == std::end( commands ) ) {
        return failed( "no command '" + std::string( name ) +
                       "'; there are: list, get, set, help" );
    }
    if ( words.size() < command->leastWords || words.size() > command->mostWords ) {
        return failed( "usage: " + std::string( command->usage ) );
    }
    return command->function( board, words );
}

} // namespace SmbusServer
