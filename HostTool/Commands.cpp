#include "HostTool/Commands.h"

#include "HostTool/Check/CheckCommand.h"
#include "HostTool/Explain/Explain.h"
#include "HostTool/Metrics/Metrics.h"
#include "HostTool/Output/Nearest.h"
#include "HostTool/Output/Print.h"
#include "HostTool/Output/Table.h"
#include "HostTool/Set/Set.h"
#include "HostTool/Show/List.h"
#include "HostTool/Show/Show.h"
#include "HostTool/Smbus/Smbus.h"
#include "HostTool/Snapshot/SnapshotCommands.h"
#include "HostTool/Watch/Watch.h"

#include <algorithm>
#include <array>
#include <cstdio>

namespace HostTool {

namespace {

ExitCode list( Task &task ) {
    print( task.options.json ? listAsJson( task.board, task.entries )
                             : listAsText( task.entries ) );
    return ExitCode::fine;
}

ExitCode show( Task &task ) {
    readDevices( task.devices );
    print( task.options.json ? showAsJson( task.devices )
                             : showAsText( task.devices, wantsColour(), task.options.fdl ) );
    const bool isWell =
        std::none_of( task.devices.begin(), task.devices.end(),
                      []( const Device &each ) { return isTrouble( each.state ); } );
    return isWell ? ExitCode::fine : ExitCode::boardTrouble;
}

const CommandRow commandRows[] = {
    { "list", "[DEVICE...]", "what devices.json describes; needs no server, no library",
      Needs::entries, list,
      R"(Prints class, name, driver, did and thresholds of each entry, or of those named.

Examples:
  kavractl list
  kavractl list --json inlet outlet
)" },
    { "show", "[DEVICE...]", "add the devices and show what each of them reads", Needs::devices,
      show,
      R"(Adds every entry of devices.json, or those named, and prints a table a class.
A value that could not be read is shown as --, with the status and the library's
own words at the end of the line; n/a is a value that the device does not have,
unread one that nobody has read. AGE is how long ago the library polled a value;
values without one were read just now.

Exit code 1 when a device could not be added or read, is above a threshold or
says of itself that it is not well.

Examples:
  kavractl show
  kavractl show inlet outlet
  kavractl show --fdl psu1-slot
  kavractl show --json | jq '.devices[] | select(.state != "ok")'
)" },
    { "snapshot", "[DEVICE...]", "all that is known of the devices, as one JSON document",
      Needs::library, runSnapshot, snapshotHelp },
    { "diff", "GOLDEN [NOW]", "how a board is not like it was in a snapshot", Needs::nothing,
      runDiff, diffHelp },
    { "watch", "[DEVICE...]", "a live view of the devices, or a line a change", Needs::devices,
      runWatch, watchHelp },
    { "set", "CLASS NAME VALUE", "tell a fan, a lamp, a transceiver or a line something",
      Needs::library, runSet, setHelp },
    { "metrics", "[DEVICE...]", "what Prometheus reads: printed, in a file, over HTTP",
      Needs::library, runMetrics, metricsHelp },
    { "check", "[FILE...]", "what is wrong with a board's documents", Needs::nothing, runCheck,
      checkHelp },
    { "explain", "[DEVICE...]", "what devices put on the wires, and how busy busses are",
      Needs::nothing, runExplain, explainHelp },
    { "smbus", "OPERATION...", "one raw access to a chip, or a scan of a bus", Needs::library,
      runSmbus, smbusHelp },
};

constexpr const char *optionsHelp = R"(
Options:
  --board DIR         folder with topology.json and devices.json
                      (else $KAVRA_BOARD, ./boards/VundaT, the installed board)
  --library PATH      the platform library (else $KAVRA_LIBRARY, the one beside
                      this program, libKavraDriversVundaT.so.1)
  --socket PATH       the SMBus server's socket
                      (else $SMBUSD_SOCKET, /run/smbusd.sock)
  --wait              wait up to 30 s for the SMBus server
  --simulate[=DIR]    keep registers in files of DIR and reach no hardware;
                      the library wants a server all the same
  --json              print JSON
  --fdl               show the description texts of parts in slots too
  --yes, -y           do not ask before a write
  --force             let smbus use reserved chip addresses too
  --for SECONDS       end watch, metrics, or the blinking that set began, by
                      itself
  --every SECONDS     how often watch reads everything, or explain takes it to
                      be read (else 1), or how often metrics writes its file
                      (else once)
  --textfile FILE     where metrics puts a file for the node exporter
  --listen WHERE      where metrics answers GET /metrics: 127.0.0.1:PORT,
                      [::1]:PORT or unix:PATH
  --output FILE       where snapshot puts its document (else standard output)
  --tolerance UNIT=N  how far values of a unit may differ for diff: C=3, rpm=15%
  --rate CLASS=SECONDS
                      how often explain takes the devices of a class to be read
  --rates             explain how busy the busses are, for named devices too
  --rules             what check looks for, each with an example
  --trace LEVEL       print the library's traces up to LEVEL, 0 to 7, to stderr
  --help, -h          this text, or that of a command
  --version           the version

Exit codes:
  0  fine
  1  something on the board is wrong or unreadable, or check or diff found some
  2  the call or a document is wrong
  3  the server or the library cannot be had

Examples:
  kavra-smbusd --socket ./smbusd.sock --board boards/VundaT/emulation.json &
  kavractl --socket ./smbusd.sock show
  kavractl list --board boards/VundaT
  kavractl show --json inlet
)";

} // namespace

const CommandRow &findCommand( const std::string &name ) {
    const auto row = std::find_if( std::begin( commandRows ), std::end( commandRows ),
                                   [&]( const CommandRow &each ) { return name == each.name; } );
    if ( row == std::end( commandRows ) ) {
        std::vector<std::string> known;
        for ( const CommandRow &each : commandRows ) {
            known.emplace_back( each.name );
        }
        throw Failure( ExitCode::badInput, "unknown command '" + name + "'; the nearest is '" +
                                               nearest( name, known ) +
                                               "', and kavractl --help has all of them" );
    }
    return *row;
}

std::string help() {
    std::string text =
        "usage: kavractl [OPTION...] COMMAND [OPERAND...]\n\n"
        "Loads the platform library as a host does and works on a board's devices.\n\n"
        "Commands:\n";
    for ( const CommandRow &row : commandRows ) {
        std::array<char, 128> line;
        snprintf( line.data(), line.size(), "  %-20s  %s\n",
                  ( std::string( row.name ) + " " + row.operands ).c_str(), row.help );
        text += line.data();
    }
    return text + optionsHelp;
}

std::string helpOf( const CommandRow &command ) {
    return "usage: kavractl [OPTION...] " + std::string( command.name ) + " " + command.operands +
           "\n\n" + command.details;
}

} // namespace HostTool
