#include "SmbusServer/Options.h"

#include <cstdlib>
#include <getopt.h>

namespace SmbusServer {

const std::string_view helpText =
    R"(Usage: kavra-smbusd --board FILE [--socket PATH] [--control PATH] [--verbose]
       kavra-smbusd ctl [--control PATH] COMMAND

Owns the SMBus controllers of a switch and performs the batches of its clients.

  --board FILE     serve the emulated board that FILE describes
  --socket PATH    where clients connect; default: $SMBUSD_SOCKET, else /run/smbusd.sock
  --control PATH   where the emulated world is driven; default: the socket with .ctl behind it
  --verbose        log connections, failed batches and control commands too
  --help           this text
  --version        the version

ctl sends one command to a running server: list, get KNOB, set KNOB VALUE, help [KNOB].

Exit codes: 0 stopped cleanly; 2 wrong call or document; 3 a socket cannot be had.
With ctl:   0 done; 1 the server answered an error; 2 wrong call; 3 no server.

Examples:
  kavra-smbusd --board boards/VundaT/emulation.json --socket /tmp/smbusd.sock
  kavra-smbusd ctl --socket /tmp/smbusd.sock 'set inlet.temperature 31.5'
  kavra-smbusd ctl list
)";

constexpr std::string_view defaultSocket = "/run/smbusd.sock";

enum Letter { Board = 'b', Socket = 's', Control = 'c', Verbose = 'v', Help = 'h', Version = 'V' };

constexpr option longOptions[] = {
    { "board", required_argument, nullptr, Board },
    { "socket", required_argument, nullptr, Socket },
    { "control", required_argument, nullptr, Control },
    { "verbose", no_argument, nullptr, Verbose },
    { "help", no_argument, nullptr, Help },
    { "version", no_argument, nullptr, Version },
    { nullptr, 0, nullptr, 0 },
};

static void apply( Options &options, int letter, const std::string &asTyped ) {
    switch ( letter ) {
    case Board:
        options.board = optarg;
        break;
    case Socket:
        options.socket = optarg;
        break;
    case Control:
        options.control = optarg;
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
    }
    for ( int i = optind; i < argc; ++i ) {
        options.line += ( options.line.empty() ? "" : " " ) + std::string( argv[i] );
    }
    fillPaths( options );
    const bool serves = options.task == Options::Task::Serve;
    if ( serves && !options.line.empty() ) {
        throw UsageError( "unknown command '" + std::string( argv[optind] ) + "'" );
    }
    if ( serves && options.board.empty() ) {
        throw UsageError( "--board FILE is missing: which board to serve" );
    }
    if ( options.task == Options::Task::Control && options.line.empty() ) {
        throw UsageError( "ctl needs a command, such as 'list'" );
    }
    return options;
}

} // namespace SmbusServer
