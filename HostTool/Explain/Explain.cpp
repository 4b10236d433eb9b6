#include "HostTool/Explain/Explain.h"

#include "HostTool/Commands.h"
#include "HostTool/Explain/PrivateServer.h"
#include "HostTool/Explain/Rates.h"
#include "HostTool/Explain/Report.h"
#include "HostTool/Explain/Run.h"
#include "HostTool/Explain/Wiring.h"
#include "HostTool/Host/Library.h"
#include "HostTool/Output/Print.h"
#include "HostTool/Output/Table.h"

#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>

namespace HostTool {

const char *const explainHelp =
    R"(Shows what goes over the wires for a device: the transactions of adding it, of
each callback and of the library's own poll, a line a request, mux selections
included, with the time that the bus takes at 100 and 400 kHz. It is what the
library did just now, on an emulated board of its own that emulation.json of the
board's folder describes. No running server and no hardware is touched, so
nothing set here stays.

Without a DEVICE: how busy each bus is when all that reads is called at given
rates, the busiest bus first, and then its devices.

  --every SECONDS       how often each reading of each device is called, else 1
  --rate CLASS=SECONDS  the same for one class, 0 for never; for each class once
  --rates               how busy the busses are with the named devices alone

Exit code 1 when the library refused a device; the others are shown.

Examples:
  kavractl explain outlet
  kavractl explain --rates psu1 psu1-slot
  kavractl explain --every 5 --rate temp_sensor=1 --rate slot=0
  kavractl explain --json Ethernet1 | jq '.devices[].steps[] | {name, sum}'
)";

namespace {

void refuseServers( const Options &options ) {
    const char *option = !options.socket.empty() ? "--socket"
                         : options.simulate      ? "--simulate"
                         : options.wait          ? "--wait"
                                                 : nullptr;
    if ( option ) {
        throw Failure( ExitCode::badInput, std::string( "explain takes no " ) + option +
                                               ": it starts a server of its own, which serves the "
                                               "board's emulation.json" );
    }
}

std::string emulationOf( const Board &board ) {
    std::string path = board.folder + "/emulation.json";
    if ( access( path.c_str(), R_OK ) != 0 ) {
        throw Failure( ExitCode::badInput, "explain needs the emulated board: cannot read " + path +
                                               ": " + strerror( errno ) );
    }
    return path;
}

std::string report( const Options &options, const Board &board,
                    const std::vector<Explain::DeviceSteps> &devices ) {
    const Explain::Wiring wiring( board.topology );
    if ( !options.operands.empty() && !options.rates ) {
        return options.json ? stepsAsJson( devices, wiring ) : stepsAsText( devices, wiring );
    }
    const Explain::Rates rates( options.every, options.rate );
    return options.json ? ratesAsJson( devices, rates, wiring )
                        : ratesAsText( devices, rates, wiring, wantsColour() );
}

} // namespace

ExitCode runExplain( Task &task ) {
    const Options &options = task.options;
    refuseServers( options );
    const Explain::Rates checked( options.every, options.rate );
    if ( !options.operands.empty() && !options.rates &&
         ( options.everyIsGiven || !options.rate.empty() ) ) {
        throw Failure( ExitCode::badInput,
                       "--every and --rate tell how busy the busses are: add --rates" );
    }
    task.board = readBoard( findBoardFolder( options.board ) );
    task.entries = selectEntries( task.board, options.operands );
    const std::string emulation = emulationOf( task.board );
    // Registers in files would keep everything off the wires.
    unsetenv( "SIMULATION_VMID" );
    const Library library( options.library );
    std::vector<Explain::DeviceSteps> devices;
    {
        Explain::PrivateServer server( emulation );
        devices = Explain::run( server, library, task.board, task.entries );
    }
    print( report( options, task.board, devices ) );
    bool isWell = true;
    for ( const Explain::DeviceSteps &each : devices ) {
        if ( !each.refusal.empty() ) {
            isWell = false;
            fprintf( stderr, "kavractl: %s\n", each.refusal.c_str() );
        }
    }
    return isWell ? ExitCode::fine : ExitCode::boardTrouble;
}

} // namespace HostTool
