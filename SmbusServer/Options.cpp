#include "SmbusServer/Options.h"

#include <algorithm>
#include <cstdlib>
#include <getopt.h>
#include <grp.h>
#include <vector>

namespace SmbusServer {

const std::string_view helpText =
    R"(Usage: kavra-smbusd --board FILE [--socket PATH] [--control PATH] [--verbose]
       kavra-smbusd --i2c-dev [FILE] | --replay FILE [the same]
       kavra-smbusd --print FILE [--json]
       kavra-smbusd ctl [--control PATH] COMMAND

Owns the SMBus controllers of a switch and performs the batches of its clients.

  --board FILE     serve the emulated board that FILE describes
  --i2c-dev [FILE] serve the adapters of this machine's kernel; FILE says which bus is which
                   /dev/i2c-N, else bus N of the master I2C is /dev/i2c-N
  --replay FILE    answer from a recording
  --socket PATH    where clients connect; default: $SMBUSD_SOCKET, else /run/smbusd.sock
  --control PATH   where the emulated world is driven; default: the socket with .ctl behind it
  --record FILE    write down every batch and its answer
  --print FILE     print a recording, a line a batch
  --json           with --print: a JSON object a line
  --faults FILE    let things go wrong, a line of FILE each
  --group NAME     serve members of this group, root and this user only
  --check-config   read the documents, say what is wrong with them, serve nothing
  --verbose        log connections and control commands too
  --help           this text
  --version        the version

ctl sends one command to a running server: list, get KNOB, set KNOB VALUE, fault [FAULT],
clear [NUMBER], help [KNOB|fault].

Exit codes: 0 stopped cleanly; 2 wrong call or document; 3 a socket cannot be had.
With ctl:   0 done; 1 the server answered an error; 2 wrong call; 3 no server.

Examples:
  kavra-smbusd --board boards/VundaT/emulation.json --socket /tmp/smbusd.sock
  kavra-smbusd ctl --socket /tmp/smbusd.sock 'set inlet.temperature 31.5'
  kavra-smbusd ctl list
)";

constexpr std::string_view defaultSocket = "/run/smbusd.sock";

enum Letter {
    Board = 'b',
    I2cDev = 'i',
    Socket = 's',
    Control = 'c',
    Faults = 'f',
    Record = 'r',
    Replay = 'R',
    Print = 'p',
    Json = 'j',
    Group = 'g',
    CheckConfig = 'k',
    Verbose = 'v',
    Help = 'h',
    Version = 'V',
};

constexpr option longOptions[] = {
    { "board", required_argument, nullptr, Board },
    { "i2c-dev", optional_argument, nullptr, I2cDev },
    { "socket", required_argument, nullptr, Socket },
    { "control", required_argument, nullptr, Control },
    { "faults", required_argument, nullptr, Faults },
    { "record", required_argument, nullptr, Record },
    { "replay", required_argument, nullptr, Replay },
    { "print", required_argument, nullptr, Print },
    { "json", no_argument, nullptr, Json },
    { "group", required_argument, nullptr, Group },
    { "check-config", no_argument, nullptr, CheckConfig },
    { "verbose", no_argument, nullptr, Verbose },
    { "help", no_argument, nullptr, Help },
    { "version", no_argument, nullptr, Version },
    { nullptr, 0, nullptr, 0 },
};

static std::string nameOf( int letter ) {
    const auto *found = std::ranges::find( longOptions, letter, &option::val );
    return std::string( "--" ) + found->name;
}

static gid_t groupNamed( const std::string &name ) {
    const group *found = getgrnam( name.c_str() );
    if ( found == nullptr ) {
        throw UsageError( "there is no group '" + name + "'" );
    }
    return found->gr_gid;
}

static void apply( Options &options, int letter, const std::string &asTyped ) {
    if ( optarg != nullptr && *optarg == '\0' && letter != ':' && letter != '?' ) {
        throw UsageError( "option '" + nameOf( letter ) + "' needs a value" );
    }
    const char *const value = optarg != nullptr ? optarg : "";
    switch ( letter ) {
    case Board:
        options.board = value;
        break;
    case I2cDev:
        options.i2cDev = value;
        break;
    case Socket:
        options.socket = value;
        break;
    case Control:
        options.control = value;
        break;
    case Faults:
        options.faults = value;
        break;
    case Record:
        options.record = value;
        break;
    case Replay:
        options.replay = value;
        break;
    case Print:
        options.task = Options::Task::Print;
        options.print = value;
        break;
    case Json:
        options.json = true;
        break;
    case Group:
        options.group = groupNamed( value );
        break;
    case CheckConfig:
        options.task = Options::Task::CheckConfig;
        break;
    case Verbose:
        options.verbose = true;
        break;
    case Help:
        options.task = Options::Task::Help;
        break;
    case Version:
        options.task = Options::Task::Version;
        break;
    case ':':
        throw UsageError( "option '" + asTyped + "' needs a value" );
    default:
        throw UsageError( "unknown option '" + asTyped + "'" );
    }
}

static void fillPaths( Options &options ) {
    if ( options.socket.empty() ) {
        const char *given = getenv( "SMBUSD_SOCKET" );
        options.socket = given != nullptr && *given != '\0' ? given : defaultSocket;
    }
    if ( options.control.empty() ) {
        options.control = options.socket + ".ctl";
    }
}

/// A call's words, taken apart but not yet judged.
struct Call {
    Options options;
    bool isCtl = false;
    std::vector<int> given; ///< letters of the options
    std::vector<std::string> words;

    bool has( int letter ) const { return std::ranges::find( given, letter ) != given.end(); }
};

static Call takeApart( int argc, char **argv ) {
    Call call;
    if ( argc > 1 && std::string_view( argv[1] ) == "ctl" ) {
        call.isCtl = true;
        --argc;
        ++argv;
    }
    // A new scan, also after an earlier one: 0 is how the C library wants to be told.
    optind = 0;
    // '+': options end at the first word; ':': a missing value is told apart.
    for ( int letter = 0;
          ( letter = getopt_long( argc, argv, "+:", longOptions, nullptr ) ) != -1; ) {
        apply( call.options, letter, argv[optind - 1] );
        call.given.push_back( letter );
        // The C library takes an optional value only behind "=".
        if ( letter == I2cDev && optarg == nullptr && optind < argc && *argv[optind] != '-' ) {
            call.options.i2cDev = argv[optind++];
        }
    }
    call.words.assign( argv + optind, argv + argc );
    return call;
}

// What only a server has a use for.
constexpr Letter ofServers[] = { Board, I2cDev, Replay, Record, Faults, Group, CheckConfig };

static void refuse( const Call &call, int letter, const std::string &beside ) {
    if ( call.has( letter ) ) {
        throw UsageError( "option '" + nameOf( letter ) + "' means nothing beside " + beside );
    }
}

static void refuseServersOptions( const Call &call, const std::string &beside ) {
    for ( const int each : ofServers ) {
        refuse( call, each, beside );
    }
}

static void judgeControl( Call &call ) {
    refuse( call, Print, "ctl" );
    refuse( call, Json, "ctl" );
    refuseServersOptions( call, "ctl" );
    if ( call.words.empty() ) {
        throw UsageError( "ctl needs a command, such as 'list'" );
    }
    for ( const std::string &each : call.words ) {
        call.options.line += ( call.options.line.empty() ? "" : " " ) + each;
    }
    call.options.task = Options::Task::Control;
}

static void judgeServed( const Call &call ) {
    std::string served;
    int count = 0;
    for ( const int each : { Board, I2cDev, Replay } ) {
        if ( call.has( each ) ) {
            served += ( count++ == 0 ? "" : " and " ) + nameOf( each );
        }
    }
    if ( count == 0 ) {
        throw UsageError(
            "one of --board FILE, --i2c-dev and --replay FILE is needed: what to serve" );
    }
    if ( count > 1 ) {
        throw UsageError( served + " exclude each other: one thing is served" );
    }
}

static void judge( Call &call ) {
    if ( call.has( Help ) || call.has( Version ) ) {
        call.options.task = call.has( Help ) ? Options::Task::Help : Options::Task::Version;
        return;
    }
    if ( call.isCtl ) {
        judgeControl( call );
        return;
    }
    if ( !call.words.empty() ) {
        const std::string &first = call.words.front();
        throw UsageError( first == "ctl" ? "'ctl' stands in front of all options"
                                         : "unknown command '" + first + "'" );
    }
    if ( call.has( Print ) ) {
        refuseServersOptions( call, "--print" );
    } else {
        judgeServed( call );
        refuse( call, Json, "what is served" );
    }
}

Options parseOptions( int argc, char **argv ) {
    Call call = takeApart( argc, argv );
    fillPaths( call.options );
    judge( call );
    return call.options;
}

} // namespace SmbusServer
