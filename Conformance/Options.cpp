#include "Conformance/Options.h"

#include "HostTool/Failure.h"
#include "HostTool/Output/Nearest.h"

#include <algorithm>
#include <charconv>
#include <getopt.h>
#include <sstream>

namespace Conformance {

using HostTool::ExitCode;
using HostTool::Failure;

namespace {

// Above every letter: what has no short form.
enum LongOption { board = 256, server, only, deadline, json, list, version };

constexpr int longestDeadline = 3600;

const option longOptions[] = {
    { "board", required_argument, nullptr, LongOption::board },
    { "server", required_argument, nullptr, LongOption::server },
    { "only", required_argument, nullptr, LongOption::only },
    { "deadline", required_argument, nullptr, LongOption::deadline },
    { "json", no_argument, nullptr, LongOption::json },
    { "list", no_argument, nullptr, LongOption::list },
    { "help", no_argument, nullptr, 'h' },
    { "version", no_argument, nullptr, LongOption::version },
    { nullptr, 0, nullptr, 0 },
};

std::vector<std::string> wordsOf( const std::string &list ) {
    std::vector<std::string> words;
    std::istringstream stream( list );
    for ( std::string word; std::getline( stream, word, ',' ); ) {
        words.push_back( word );
    }
    if ( words.empty() || std::count( words.begin(), words.end(), "" ) != 0 ) {
        throw Failure( ExitCode::badInput, "--only takes ids of checks, not '" + list + "'" );
    }
    return words;
}

int secondsOf( const std::string &text ) {
    int seconds = 0;
    const char *const end = text.data() + text.size();
    const auto [stop, error] = std::from_chars( text.data(), end, seconds );
    if ( error != std::errc() || stop != end || seconds < 1 || seconds > longestDeadline ) {
        throw Failure( ExitCode::badInput, "--deadline takes seconds from 1 to " +
                                               std::to_string( longestDeadline ) + ", not '" +
                                               text + "'" );
    }
    return seconds;
}

/// The option that was refused. Several letters may stand in one word, a long option never.
std::string refusedOption( const char *word ) {
    const bool isLetter = optopt > 0 && optopt < LongOption::board && optopt != 'h';
    return isLetter ? std::string( { '-', static_cast<char>( optopt ) } ) : word;
}

[[noreturn]] void refuse( const std::string &word, bool lacksValue ) {
    std::vector<std::string> known;
    for ( const option *each = longOptions; each->name != nullptr; ++each ) {
        known.push_back( std::string( "--" ) + each->name );
    }
    throw Failure( ExitCode::badInput, lacksValue
                                           ? word + " needs a value"
                                           : "'" + word + "' is no option, or takes no value" +
                                                 HostTool::didYouMean( word, known ) );
}

} // namespace

Options parseOptions( int count, char **values ) {
    Options options;
    opterr = 0;
    // An option without its value is told from an unknown one.
    for ( int found = 0;
          ( found = getopt_long( count, values, ":h", longOptions, nullptr ) ) != -1; ) {
        const std::string value = optarg != nullptr ? optarg : "";
        switch ( found ) {
        case LongOption::board:
            options.board = value;
            break;
        case LongOption::server:
            options.server = value;
            break;
        case LongOption::only:
            for ( const std::string &word : wordsOf( value ) ) {
                options.only.push_back( word );
            }
            break;
        case LongOption::deadline:
            options.deadline = secondsOf( value );
            break;
        case LongOption::json:
            options.json = true;
            break;
        case LongOption::list:
            options.list = true;
            break;
        case 'h':
            options.help = true;
            break;
        case LongOption::version:
            options.version = true;
            break;
        default:
            refuse( refusedOption( values[optind - 1] ), found == ':' );
        }
    }
    if ( options.help || options.version ) {
        return options;
    }
    if ( optind < count ) {
        options.library = values[optind++];
    } else if ( !options.list ) {
        throw Failure( ExitCode::badInput,
                       "no library is named; kavra-conformance --help shows how" );
    }
    if ( optind < count ) {
        throw Failure( ExitCode::badInput,
                       "one library at a time, not also '" + std::string( values[optind] ) + "'" );
    }
    return options;
}

const char *const helpText = R"(Usage: kavra-conformance [OPTION]... LIBRARY

Checks a platform-driver library against the contract between hosts and such libraries
(PlatformLibrary/pl.h): its symbols, records, operation tables, how it takes null and wrong input,
and what it answers and reads on an emulated board; and against the rules for a guest in a host's
process. LIBRARY is the path of a shared library. Nothing of the machine is touched: the board is
emulated by a kavra-smbusd that runs for as long as the checks do.

Each check runs in a process of its own. A library that crashes or hangs fails that check.

Options:
  --board DIR         documents of the board: topology.json, devices.json, emulation.json; without it
                      $KAVRA_BOARD, ./boards/VundaT or the installed one
  --server PROGRAM    server to start, a path or a name in $PATH; without it kavra-smbusd beside this
                      program or in $PATH
  --only ID[,ID]...   run these checks, or groups of them, and no others; may be given again
  --deadline SECONDS  time that each check has; 20 without it; init.no-server has 45 at least
  --json              print JSON in place of lines of the Test Anything Protocol
  --list              print the checks: id, what holds, and why it matters
  -h, --help          print this text
  --version           print the version

Exit status:
  0  the library conforms
  1  it does not: one check failed at least
  2  the call or a document is wrong
  3  the library cannot be loaded, or the server not be started, or it ends during the run
  128+N  signal N (SIGINT, SIGTERM or SIGHUP) ended the run

Examples:
  kavra-conformance ./build/libKavraDriversVundaT.so.1
  kavra-conformance --board my-board ./libMyDrivers.so.1
  kavra-conformance --only tables,null.outputs --json ./libMyDrivers.so.1
  kavra-conformance --list
)";

} // namespace Conformance
