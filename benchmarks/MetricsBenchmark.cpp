// The whole board, as "kavractl metrics" reads and exposes it: every device of the VundaT's
// documents, over the emulated board. The base is the same callbacks called bare, through the
// operation tables, their texts freed and their values dropped. Left out is what is no work: the
// second in which the first pass waits for the library's poll of the transceivers.
#include "benchmarks/support/BoardServer.h"
#include "benchmarks/support/Interleaved.h"
#include "benchmarks/support/VundaT.h"
#include "HostTool/Board/Documents.h"
#include "HostTool/Host/Devices.h"
#include "HostTool/Host/Library.h"
#include "HostTool/Host/Provides.h"
#include "HostTool/Metrics/Exposition.h"

#include <algorithm>
#include <array>
#include <benchmark/benchmark.h>
#include <cstdlib>
#include <string>
#include <vector>

using HostTool::Device;
using HostTool::DeviceClass;
using HostTool::provides;
using HostTool::Metrics::Exposition;

namespace {

/// Calls a slot that reads one value.
template <class Ops, class Record, class Value>
void call( const Ops *ops, pl_status ( *Ops::*slot )( Record *, Value * ), Record *record ) {
    if ( provides( ops, slot ) ) {
        Value value{};
        benchmark::DoNotOptimize( ( ops->*slot )( record, &value ) );
    }
}

template <class Record>
Record *recordOf( const Device &device ) {
    return static_cast<Record *>( device.record );
}

void callTempSensor( const Device &device ) {
    auto *sensor = recordOf<pl_temp_sensor>( device );
    call( sensor->ops, &pl_temp_sensor_ops::getTemperature, sensor );
}

void callFan( const Device &device ) {
    auto *fan = recordOf<pl_fan>( device );
    if ( provides( fan->ops, &pl_fan_ops::debugInfo ) ) {
        char *text = nullptr;
        fan->ops->debugInfo( fan, &text );
        free( text );
    }
    call( fan->ops, &pl_fan_ops::getRpm, fan );
}

void callPsu( const Device &device ) {
    auto *psu = recordOf<pl_psu>( device );
    call( psu->ops, &pl_psu_ops::get_power_ok, psu );
    call( psu->ops, &pl_psu_ops::get_input_voltage, psu );
    call( psu->ops, &pl_psu_ops::get_input_current, psu );
    call( psu->ops, &pl_psu_ops::get_input_power, psu );
    call( psu->ops, &pl_psu_ops::get_output_voltage, psu );
    call( psu->ops, &pl_psu_ops::get_output_current, psu );
    call( psu->ops, &pl_psu_ops::get_output_power, psu );
}

void callSlot( const Device &device ) {
    auto *slot = recordOf<pl_slot>( device );
    char *text = nullptr;
    slot->ops->getPresence( slot, &text );
    free( text );
}

void callXcvr( const Device &device ) {
    auto *xcvr = recordOf<pl_xcvr>( device );
    if ( xcvr->ops->type == PL_XCVR_QSFP ) {
        const pl_qsfp_ops &ops = xcvr->ops->u.qsfp;
        benchmark::DoNotOptimize( ops.getPresence( xcvr ) );
        call( &ops, &pl_qsfp_ops::getModSel, xcvr );
        call( &ops, &pl_qsfp_ops::getLpMode, xcvr );
        call( &ops, &pl_qsfp_ops::getReset, xcvr );
        call( &ops, &pl_qsfp_ops::getInterrupt, xcvr );
    } else {
        const pl_sfp_ops &ops = xcvr->ops->u.sfp;
        benchmark::DoNotOptimize( ops.getPresence( xcvr ) );
        call( &ops, &pl_sfp_ops::getTxFault, xcvr );
        call( &ops, &pl_sfp_ops::getRxLos, xcvr );
        call( &ops, &pl_sfp_ops::getTxDisable, xcvr );
    }
}

void callGpio( const Device &device ) {
    auto *gpio = recordOf<pl_gpio>( device );
    call( gpio->ops, &pl_gpio_ops::bitRead, gpio );
}

void callSystem( const Device &device ) {
    auto *system = recordOf<pl_system>( device );
    if ( provides( system->ops, &pl_system_ops::get_reload_cause ) ) {
        std::array<char, 101> cause = {};
        std::array<char, 501> detail = {};
        long when = 0;
        system->ops->get_reload_cause( system, cause.data(), &when, detail.data() );
    }
}

void callNothing( const Device & ) {}

// In the order of the classes.
constexpr std::array<void ( * )( const Device & ), 9> calls = {
    callTempSensor, callFan,  callPsu,     callSlot,  callXcvr,
    callNothing,    callGpio, callNothing, callSystem
};

void callAll( const std::vector<Device> &devices ) {
    for ( const Device &device : devices ) {
        calls.at( static_cast<size_t>( device.row->deviceClass ) )( device );
    }
}

HostTool::Moment now() {
    return std::chrono::steady_clock::now();
}

/// What metrics does with devices that are added.
std::string exposeAll( std::vector<Device> &devices, Exposition &exposition ) {
    const HostTool::Moment start = now();
    for ( Device &device : devices ) {
        readDevice( device );
    }
    const HostTool::Moment end = now();
    return exposition.text( { true, end - start, end }, devices );
}

/// The board's devices, their cages polled, and the server that they are read from.
class ReadyBoard {
  public:
    ReadyBoard() : server_( vundaTDocument( "emulation.json" ) ) {
        setenv( "SMBUSD_SOCKET", server_.path().c_str(), 1 );
        static const HostTool::Board board = HostTool::readBoard( vundaT );
        static const HostTool::Library library( KAVRA_LIBRARY_FILE );
        devices = addDevices( library, {}, board, selectEntries( board, {} ) );
        HostTool::readDevices( devices );
    }

    bool isWell() const {
        return std::none_of( devices.begin(), devices.end(),
                             []( const Device &each ) { return isTrouble( each.state ); } );
    }

    std::vector<Device> devices;
    Exposition exposition{ { "1.0.0", KAVRA_LIBRARY_FILE, vundaT } };

  private:
    BoardServer server_;
};

void ExposeBoard( benchmark::State &state ) {
    stayOnOneCpu();
    ReadyBoard board;
    const std::string text = exposeAll( board.devices, board.exposition );
    if ( !board.isWell() ) {
        state.SkipWithError( "the board cannot be read" );
        return;
    }
    for ( auto _ : state ) {
        const Interleaved result = interleave(
            300, 1, [&] { callAll( board.devices ); },
            [&] { benchmark::DoNotOptimize( exposeAll( board.devices, board.exposition ) ); } );
        state.SetIterationTime( result.testNs * 1e-9 );
        state.counters["lines"] =
            static_cast<double>( std::count( text.begin(), text.end(), '\n' ) );
        state.counters["ratio"] = result.ratio();
        state.counters["control"] = result.control;
    }
}
BENCHMARK( ExposeBoard )->UseManualTime()->Iterations( 1 );

/// The text alone, for who looks for where the time goes.
void WriteExposition( benchmark::State &state ) {
    ReadyBoard board;
    for ( auto _ : state ) {
        benchmark::DoNotOptimize( board.exposition.text(
            { true, std::chrono::milliseconds( 2 ), now() }, board.devices ) );
    }
}
BENCHMARK( WriteExposition );

} // namespace

BENCHMARK_MAIN();
