// The whole board, as "kavractl show" reads and prints it: every device of the VundaT's documents,
// over the emulated board. The base is the round trips of the very batches that show sent, over a
// bare connection to the same server: once with a serialisation and a parse each, and once as
// frames of bytes that are made before and not looked at. Left out is what is no work: the second
// in which show waits for the library's poll of the transceivers.
#include "benchmarks/support/BoardServer.h"
#include "benchmarks/support/Interleaved.h"
#include "benchmarks/support/SentFrames.h"
#include "benchmarks/support/VundaT.h"
#include "HostTool/Board/Documents.h"
#include "HostTool/Host/Devices.h"
#include "HostTool/Host/Library.h"
#include "HostTool/Show/Show.h"

#include <algorithm>
#include <benchmark/benchmark.h>
#include <cstdlib>
#include <string>
#include <vector>

using HostTool::Device;

namespace {

/// What show does with devices that are added, without its wait.
void readAll( std::vector<Device> &devices ) {
    for ( Device &device : devices ) {
        if ( device.row->settleMilliseconds > 0 ) {
            readDevice( device );
        }
    }
    for ( Device &device : devices ) {
        readDevice( device );
    }
}

std::vector<Device> boardDevices( const HostTool::Board &board ) {
    static const HostTool::Library library( KAVRA_LIBRARY_FILE );
    return addDevices( library, {}, board, selectEntries( board, {} ) );
}

void ShowBoard( benchmark::State &state ) {
    stayOnOneCpu();
    const BoardServer server( vundaTDocument( "emulation.json" ) );
    setenv( "SMBUSD_SOCKET", server.path().c_str(), 1 );
    static const HostTool::Board board = HostTool::readBoard( vundaT );
    std::vector<Device> devices = boardDevices( board );
    HostTool::readDevices( devices ); // descriptions are made, and the transceivers are polled

    SentFrames::start();
    readAll( devices );
    const std::vector<std::string> frames = SentFrames::stop();
    if ( std::any_of( devices.begin(), devices.end(),
                      []( const Device &each ) { return isTrouble( each.state ); } ) ) {
        state.SkipWithError( "the board cannot be read" );
        return;
    }
    BareReplay bare( server.path() );
    const std::vector<Smbus::TransactionRequest> requests = requestsIn( frames );
    const auto show = [&] {
        readAll( devices );
        benchmark::DoNotOptimize( HostTool::showAsText( devices, false, false ) );
    };
    for ( auto _ : state ) {
        const Interleaved result = interleave(
            300, 1, [&] { bare.exchange( requests ); }, show );
        const Interleaved bytes = interleave(
            300, 1, [&] { bare.replay( frames ); }, show );
        state.SetIterationTime( result.testNs * 1e-9 );
        state.counters["transactions"] = static_cast<double>( frames.size() );
        state.counters["ratio"] = result.ratio();
        state.counters["control"] = result.control;
        state.counters["ratio_to_bytes"] = bytes.ratio();
        state.counters["control_bytes"] = bytes.control;
    }
}
BENCHMARK( ShowBoard )->UseManualTime()->Iterations( 1 );

/// The printing alone, for who looks for where the time goes.
void PrintBoard( benchmark::State &state ) {
    const BoardServer server( vundaTDocument( "emulation.json" ) );
    setenv( "SMBUSD_SOCKET", server.path().c_str(), 1 );
    static const HostTool::Board board = HostTool::readBoard( vundaT );
    std::vector<Device> devices = boardDevices( board );
    readAll( devices );
    for ( auto _ : state ) {
        benchmark::DoNotOptimize( HostTool::showAsText( devices, false, false ) );
    }
}
BENCHMARK( PrintBoard );

} // namespace

BENCHMARK_MAIN();
