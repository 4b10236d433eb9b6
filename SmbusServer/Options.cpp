#include "SmbusServer/Options.h"

#include <cstdlib>
#include <getopt.h>
#include <grp.h>

namespace SmbusServer {

const std::string_view helpText =
    R"(Usage: kavra-smbusd --board FILE [--socket PATH] [--control PATH] [--verbose]
       kavra-smbusd --i2c-dev [FILE] | --replay FILE [the same]
       kavra-smbusd --print FILE
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
    { "group", required_argument, nullptr, Group },
    { "check-config", no_argument, nullptr, CheckConfig },
    { "verbose", no_argument, nullptr, Verbose },
    { "help", no_argument, nullptr, Help },
    { "version", no_argument, nullptr, Version },
    { nullptr, 0, nullptr, 0 },
};

static gid_t groupNamed( const std::string &name ) {
    const group *found = getgrnam( name.c_str() );
    if ( found == nullptr ) {
        throw UsageError( "there is no group '" + name + "'" );
    }
    return found->gr_gid;
}

static void apply( Options &options, int letter, const std::string &asTyped ) {
    switch ( letter ) {
    case Board:
        options.board = optarg;
        break;
    case I2cDev:
        options.i2cDev = optarg != nullptr ? optarg : "";
        break;
    case Socket:
        options.socket = optarg;
        break;
    case Control:
        options.control = optarg;
        break;
    case Faults:
        options.faults = optarg;
        break;
    case Record:
        options.record = optarg;
        break;
    case Replay:
        options.replay = optarg;
        break;
    case Print:
        options.task = Options::Task::Print;
        options.print = optarg;
        break;
    case Group:
        options.group = groupNamed( optarg );
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

Options parseOptions( int argc, char **argv ) {
    Options options;
    if ( argc > 1 && std::string_view( argv[1] ) == "ctl" ) {
        options.task = Options::Task::Control;
        --argc;
        ++argv;
    }
    // A new scan, also after an earlier one: 0 is how the C library wants to be told.
    optind = 0;
    // '+': options end at the first word; ':': a missing value is told apart.
    for ( int letter = 0;
          ( letter = getopt_long( argc, argv, "+:", longOptions, nullptr ) ) != -1; ) {
        apply( options, letter, argv[optind - 1] );
        // The C library takes an optional value only behind "=".
        if ( letter == I2cDev && optarg == nullptr && optind < argc && *argv[optind] != '-' ) {
            options.i2cDev = argv[optind++];
        }
    }
    for ( int i = optind; i < argc; ++i ) {
        options.line += ( options.line.empty() ? "" : " " ) + std::string( argv[i] );
    }
    fillPaths( options );
    const bool serves =
        options.task == Options::Task::Serve || options.task == Options::Task::CheckConfig;
    if ( serves && !options.line.empty() ) {
        throw UsageError( "unknown command '" + std::string( argv[optind] ) + "'" );
    }
    const int served = ( options.board.empty() ? 0 : 1 ) + ( options.i2cDev ? 1 : 0 ) +
                       ( options.replay.empty() ? 0 : 1 );
    if ( serves && served != 1 ) {
        throw UsageError(
            "one of --board FILE, --i2c-dev and --replay FILE is needed: what to serve" );
    }
    if ( options.task == Options::Task::Control && options.line.empty() ) {
        throw UsageError( "ctl needs a command, such as 'list'" );
    }
    return options;
}

} // namespace SmbusServer
