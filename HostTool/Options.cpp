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

constexpr OptionRow optionRows[] = {
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
    { "--fdl", Value::none, []( Options &o, const std::string & ) { o.fdl = true; } },
    { "--yes", Value::none, []( Options &o, const std::string & ) { o.yes = true; } },
    { "-y", Value::none, []( Options &o, const std::string & ) { o.yes = true; } },
    { "--force", Value::none, []( Options &o, const std::string & ) { o.force = true; } },
    { "--trace", Value::needed, applyTrace },
    { "--for", Value::needed,
      []( Options &o, const std::string &v ) { o.seconds = parseSeconds( "--for", v ); } },
    { "--every", Value::needed,
      []( Options &o, const std::string &v ) {
          o.every = parseSeconds( "--every", v );
          o.everyIsGiven = true;
      } },
    { "--textfile", Value::needed, []( Options &o, const std::string &v ) { o.textFile = v; } },
    { "--listen", Value::needed, []( Options &o, const std::string &v ) { o.listen = v; } },
    { "--output", Value::needed, []( Options &o, const std::string &v ) { o.output = v; } },
    { "--tolerance", Value::needed,
      []( Options &o, const std::string &v ) { o.tolerances.push_back( v ); } },
    { "--rate", Value::needed, []( Options &o, const std::string &v ) { o.rate.push_back( v ); } },
    { "--rates", Value::none, []( Options &o, const std::string & ) { o.rates = true; } },
    { "--rules", Value::none, []( Options &o, const std::string & ) { o.rules = true; } },
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

/// Takes one option and, when it needs one that is not behind a '=', the value after it.
Argument takeOption( Options &options, Argument at, Argument end ) {
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
    return ++at;
}

} // namespace

Options parseOptions( const std::vector<std::string> &arguments ) {
    Options options;
    std::vector<std::string> words;
    for ( Argument at = arguments.begin(); at != arguments.end(); ) {
        if ( *at == "--" ) {
            words.insert( words.end(), at + 1, arguments.end() );
            break;
        }
        if ( at->size() > 1 && at->front() == '-' ) {
            at = takeOption( options, at, arguments.end() );
        } else {
            words.push_back( *at++ );
        }
    }
    if ( !words.empty() ) {
        options.command = words.front();
        options.operands.assign( words.begin() + 1, words.end() );
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
