#include "SmbusServer/ControlCommands.h"

#include "SmbusServer/FaultScript.h"
#include "SmbusServer/Words.h"

#include <algorithm>
#include <charconv>
#include <system_error>
#include <utility>
#include <vector>

namespace SmbusServer {

using EmulatedBoard::Board;
using Words = std::vector<std::string_view>;

constexpr const char *noBoard = "the busses are real or recorded: there are no knobs";

static std::string done( std::string data = {} ) {
    return data + "ok\n";
}

static std::string failed( const std::string &why ) {
    return "error: " + why + "\n";
}

/// One line, taken apart.
struct Line {
    std::string_view text;
    Words words;
};

static std::string list( const World &world, const Line & ) {
    std::string data;
    for ( const Board::NamedKnob &each : world.board.knobs() ) {
        data += each.name + " " + each.knob.get() +
                ( each.knob.unit.empty() ? "" : " " + each.knob.unit ) + "\n";
    }
    return done( std::move( data ) );
}

static std::string get( const World &world, const Line &line ) {
    std::string value;
    std::string error;
    return world.board.get( line.words[1], value, error ) ? done( value + "\n" ) : failed( error );
}

static std::string set( const World &world, const Line &line ) {
    std::string error;
    return world.board.set( line.words[1], line.words[2], error ) ? done() : failed( error );
}

static std::string fault( const World &world, const Line &line ) {
    if ( line.words.size() == 1 ) {
        return done( world.faults.list() );
    }
    try {
        return world.faults.add( parseFault( line.text ) )
                   ? done()
                   : failed( "there are " + std::to_string( FaultList::mostFaults ) +
                             " faults; clear some" );
    } catch ( const FaultError &error ) {
        return failed( error.what() );
    }
}

static std::string clear( const World &world, const Line &line ) {
    if ( line.words.size() == 1 ) {
        world.faults.clear();
        return done();
    }
    const std::string_view word = line.words[1];
    const char *end = word.data() + word.size();
    uint32_t number = 0;
    const auto parsed = std::from_chars( word.data(), end, number );
    const bool isNumber = parsed.ec == std::errc() && parsed.ptr == end;
    return isNumber && world.faults.remove( number )
               ? done()
               : failed( "no fault '" + std::string( word ) + "'; 'fault' lists them" );
}

static std::string help( const World &world, const Line &line );

struct Command {
    std::string_view name;
    size_t leastWords;
    size_t mostWords;
    std::string_view usage;
    std::string_view what;
    bool needsBoard;
    std::string ( *function )( const World &world, const Line &line );
};

constexpr size_t anyNumber = SIZE_MAX;

static constexpr Command commands[] = {
    { "list", 1, 1, "list", "every knob with its value and unit, a line each", true, list },
    { "get", 2, 2, "get KNOB", "the value of a knob", true, get },
    { "set", 3, 3, "set KNOB VALUE", "turns a knob", true, set },
    { "fault", 1, anyNumber, "fault [FAULT]", "lets something go wrong; alone: what does", false,
      fault },
    { "clear", 1, 2, "clear [NUMBER]", "ends all faults, or one", false, clear },
    { "help", 1, 2, "help [KNOB|fault]", "the commands, or what a knob is, or all faults", false,
      help },
};

static std::string help( const World &world, const Line &line ) {
    std::string data;
    if ( line.words.size() == 1 ) {
        for ( const Command &each : commands ) {
            std::string usage( each.usage );
            usage.resize( 18, ' ' );
            data += usage + std::string( each.what ) + "\n";
        }
        return done( std::move( data ) );
    }
    if ( line.words[1] == "fault" ) {
        return done( faultHelp() );
    }
    if ( world.board.busses().empty() ) {
        return failed( noBoard );
    }
    std::string error;
    const Board::NamedKnob *found = world.board.findKnob( line.words[1], error );
    if ( found == nullptr ) {
        return failed( error );
    }
    return done( found->name + ": " + found->knob.help + "; " + allowedText( found->knob ) + "\n" );
}

static std::string commandNames() {
    std::string names;
    for ( const Command &each : commands ) {
        names += ( names.empty() ? "" : ", " ) + std::string( each.name );
    }
    return names;
}

std::string controlAnswer( const World &world, std::string_view text ) {
    const Line line{ text, splitWords( text ) };
    const size_t count = line.words.size();
    const std::string_view name = count == 0 ? std::string_view() : line.words[0];
    const auto *command = std::ranges::find( commands, name, &Command::name );
    if ( command == std::end( commands ) ) {
        return failed( "no command '" + std::string( name ) + "'; there are: " + commandNames() );
    }
    if ( count < command->leastWords || count > command->mostWords ) {
        return failed( "usage: " + std::string( command->usage ) );
    }
    if ( command->needsBoard && world.board.busses().empty() ) {
        return failed( noBoard );
    }
    return command->function( world, line );
}

} // namespace SmbusServer
