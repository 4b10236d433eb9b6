#include "HostTool/Options.h"

#include "HostTool/Failure.h"
#include "HostTool/Output/Nearest.h"

#include <algorithm>
#include <charconv>
#include <cstdlib>

namespace HostTool {

namespace {

constexpr const char *leastImportantLevel = "7";
constexpr int longestSeconds = 86400;

enum class Value { none, needed, possible };

struct OptionRow {
    const char *name;
    Value value;
    void ( *apply )( Options &options, const std::string &value );
    std::vector<std::string> commands = {}; ///< that take it; empty: all of them
};

void applyTrace( Options &options, const std::string &value ) {
    if ( value.size() != 1 || value < "0" || value > leastImportantLevel ) {
        throw Failure( ExitCode::badInput,
                       "--trace takes a level from 0 to 7, not '" + value + "'" );
    }
    options.traceLevel = value.front() - '0';
}

int parseSeconds( const std::string &option, const std::string &value ) {
    int seconds = 0;
    const char *end = value.data() + value.size();
    const auto [stop, error] = std::from_chars( value.data(), end, seconds );
    if ( error != std::errc() || stop != end || seconds < 1 || seconds > longestSeconds ) {
        throw Failure( ExitCode::badInput, option + " takes seconds from 1 to " +
                                               std::to_string( longestSeconds ) + ", not '" +
                                               value + "'" );
    }
    return seconds;
}

const OptionRow optionRows[] = {
    { "--board", Value::needed, []( Options &o, const std::string &v ) { o.board = v; } },
    { "--library", Value::needed, []( Options &o, const std::string &v ) { o.library = v; } },
    { "--socket", Value::needed, []( Options &o, const std::string &v ) { o.socket = v; } },
    { "--simulate", Value::possible,
      []( Options &o, const std::string &v ) {
          o.simulate = true;
          o.simulationFolder = v;
      } },
    { "--wait", Value::none, []( Options &o, const std::string & ) { o.wait = true; } },
    { "--json", Value::none, []( Options &o, const std::string & ) { o.json = true; } },
    { "--fdl", Value::none, []( Options &o, const std::string & ) { o.fdl = true; }, { "show" } },
    { "--yes", Value::none, []( Options &o, const std::string & ) { o.yes = true; }, { "smbus" } },
    { "-y", Value::none, []( Options &o, const std::string & ) { o.yes = true; }, { "smbus" } },
    { "--force",
      Value::none,
      []( Options &o, const std::string & ) { o.force = true; },
      { "smbus" } },
    { "--trace", Value::needed, applyTrace },
    { "--for",
      Value::needed,
      []( Options &o, const std::string &v ) { o.seconds = parseSeconds( "--for", v ); },
      { "watch", "set", "metrics" } },
    { "--every",
      Value::needed,
      []( Options &o, const std::string &v ) {
          o.every = parseSeconds( "--every", v );
          o.everyIsGiven = true;
      },
      { "watch", "metrics", "explain" } },
    { "--textfile",
      Value::needed,
      []( Options &o, const std::string &v ) { o.textFile = v; },
      { "metrics" } },
    { "--listen",
      Value::needed,
      []( Options &o, const std::string &v ) { o.listen = v; },
      { "metrics" } },
    { "--output",
      Value::needed,
      []( Options &o, const std::string &v ) { o.output = v; },
      { "snapshot" } },
    { "--tolerance",
      Value::needed,
      []( Options &o, const std::string &v ) { o.tolerances.push_back( v ); },
      { "diff" } },
    { "--rate",
      Value::needed,
      []( Options &o, const std::string &v ) { o.rate.push_back( v ); },
      { "explain" } },
    { "--rates",
      Value::none,
      []( Options &o, const std::string & ) { o.rates = true; },
      { "explain" } },
    { "--rules",
      Value::none,
      []( Options &o, const std::string & ) { o.rules = true; },
      { "check" } },
    { "--help", Value::none, []( Options &o, const std::string & ) { o.help = true; } },
    { "-h", Value::none, []( Options &o, const std::string & ) { o.help = true; } },
    { "--version", Value::none, []( Options &o, const std::string & ) { o.version = true; } },
};

const OptionRow &findOption( const std::string &name ) {
    const auto row = std::find_if( std::begin( optionRows ), std::end( optionRows ),
                                   [&]( const OptionRow &each ) { return name == each.name; } );
    if ( row == std::end( optionRows ) ) {
        std::vector<std::string> known;
        for ( const OptionRow &each : optionRows ) {
            known.emplace_back( each.name );
        }
        throw Failure( ExitCode::badInput,
                       "unknown option '" + name + "'" + didYouMean( name, known ) );
    }
    return *row;
}

using Argument = std::vector<std::string>::const_iterator;

using Given = std::vector<const OptionRow *>;

/// Takes one option and, when it needs one that is not behind a '=', the value after it.
Argument takeOption( Options &options, Given &given, Argument at, Argument end ) {
    const size_t equals = at->find( '=' );
    const OptionRow &row = findOption( at->substr( 0, equals ) );
    std::string value;
    if ( equals != std::string::npos ) {
        value = at->substr( equals + 1 );
        if ( row.value == Value::none ) {
            throw Failure( ExitCode::badInput, std::string( row.name ) + " takes no value" );
        }
        if ( value.empty() ) {
            throw Failure( ExitCode::badInput, std::string( row.name ) + " needs a value" );
        }
    } else if ( row.value == Value::needed ) {
        if ( ++at == end || at->empty() ) {
            throw Failure( ExitCode::badInput, std::string( row.name ) + " needs a value" );
        }
        value = *at;
    }
    row.apply( options, value );
    given.push_back( &row );
    return ++at;
}

/// An option that a command would not look at is one that somebody thinks it does.
void refuseForeign( const Given &given, const std::string &command ) {
    for ( const OptionRow *row : given ) {
        const std::vector<std::string> &takers = row->commands;
        if ( takers.empty() ||
             std::find( takers.begin(), takers.end(), command ) != takers.end() ) {
            continue;
        }
        std::string names = takers.front();
        for ( size_t i = 1; i < takers.size(); ++i ) {
            names.append( i + 1 == takers.size() ? " and " : ", " ).append( takers[i] );
        }
        std::string text = row->name;
        text.append( " goes with kavractl " ).append( names );
        text.append( ", not with " ).append( command );
        throw Failure( ExitCode::badInput, text );
    }
}

} // namespace

Options parseOptions( const std::vector<std::string> &arguments ) {
    Options options;
    Given given;
    std::vector<std::string> words;
    for ( Argument at = arguments.begin(); at != arguments.end(); ) {
        if ( *at == "--" ) {
            words.insert( words.end(), at + 1, arguments.end() );
            break;
        }
        if ( at->size() > 1 && at->front() == '-' ) {
            at = takeOption( options, given, at, arguments.end() );
        } else {
            words.push_back( *at++ );
        }
    }
    if ( !words.empty() ) {
        options.command = words.front();
        options.operands.assign( words.begin() + 1, words.end() );
        if ( !options.help && !options.version ) {
            refuseForeign( given, options.command );
        }
    }
    return options;
}

void setEnvironment( const Options &options ) {
    constexpr int replace = 1;
    if ( !options.socket.empty() ) {
        setenv( "SMBUSD_SOCKET", options.socket.c_str(), replace );
    }
    if ( options.simulate ) {
        setenv( "SIMULATION_VMID", "1", replace );
    }
    if ( !options.simulationFolder.empty() ) {
        setenv( "KAVRALIB_SIMDIR", options.simulationFolder.c_str(), replace );
    }
}

} // namespace HostTool
