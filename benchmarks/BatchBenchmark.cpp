// What a batch through the library costs over a bare ping-pong of the same bytes.
#include "benchmarks/support/Allocations.h"
#include "benchmarks/support/AnsweringServer.h"
#include "benchmarks/support/BarePingPong.h"
#include "benchmarks/support/Boards.h"
#include "benchmarks/support/Interleaved.h"
#include "KavraGeneric/Ham/KavraSmbusHam.h"

#include <benchmark/benchmark.h>
#include <bit>
#include <PlatformLibrary/pl.h>

namespace {

const std::string &serverPath() {
    static const AnsweringServer server;
    return server.path();
}

const char *board() {
    static const std::string text = boardOfSensors( 1 );
    return text.c_str();
}

Smbus::TransactionRequest readsOf( int count, unsigned length ) {
    AhamAddress address{};
    address.address = 72;
    address.bus = 1;
    address.addrSize = 1;
    Smbus::TransactionRequest batch;
    for ( int i = 0; i < count; ++i ) {
        Smbus::Request &request = *batch.add_request();
        request.set_address( std::bit_cast<uint64_t>( address ) );
        request.set_type( Smbus::READ );
        request.set_length( length );
        request.set_pci( 0 );
        request.set_mastertype( Smbus::I2C );
        request.set_flag( false );
    }
    return batch;
}

void report( benchmark::State &state, const Interleaved &result ) {
    state.SetIterationTime( result.testNs * 1e-9 );
    state.counters["base_ns"] = result.baseNs;
    state.counters["control"] = result.control;
    state.counters["ratio"] = result.ratio();
}

void OneReadCallback( benchmark::State &state ) {
    const std::string &path = serverPath();
    if ( pl_temp_sensor_init( board() ) != PL_STATUS_OK ) {
        state.SkipWithError( "no server" );
        return;
    }
    static const std::string arguments = sensorArguments( 0 );
    pl_temp_sensor *sensor = pl_temp_sensor_add( arguments.c_str(), 80, 90 );
    BarePingPong bare( path, readsOf( 1, 2 ) );
    for ( auto _ : state ) {
        float celsius = 0;
        report( state, interleave(
                           200, 200, [&] { bare.batch(); },
                           [&] { sensor->ops->getTemperature( sensor, &celsius ); } ) );
        benchmark::DoNotOptimize( celsius );
    }
}
BENCHMARK( OneReadCallback )->UseManualTime()->Iterations( 1 );

Ham::KavraSmbusHam &warmHam() {
    static Ham::KavraSmbusHam *ham = [] {
        AhamAddress address{};
        address.address = 72;
        address.bus = 1;
        address.addrSize = 1;
        Ham::KavraSmbusHam *made = Ham::KavraSmbusHam::createFromAddress( address, 0 );
        made->init();
        return made;
    }();
    return *ham;
}

int readBatch( Ham::KavraSmbusHam &ham, int count ) {
    ham.prepare();
    for ( int i = 0; i < count; ++i ) {
        ham.addRead8( 0 );
    }
    return ham.execute();
}

void BatchOfReads( benchmark::State &state ) {
    const auto count = static_cast<int>( state.range( 0 ) );
    const std::string &path = serverPath();
    if ( pl_temp_sensor_init( board() ) != PL_STATUS_OK ) {
        state.SkipWithError( "no server" );
        return;
    }
    Ham::KavraSmbusHam &ham = warmHam();
    BarePingPong bare( path, readsOf( count, 1 ) );
    readBatch( ham, count );
    const uint64_t before = allocations();
    readBatch( ham, count );
    state.counters["allocations"] = static_cast<double>( allocations() - before );
    for ( auto _ : state ) {
        report( state, interleave(
                           100, 50, [&] { bare.batch(); }, [&] { readBatch( ham, count ); } ) );
    }
}
BENCHMARK( BatchOfReads )
    ->Arg( 1 )
    ->Arg( 4 )
    ->Arg( 16 )
    ->Arg( 64 )
    ->UseManualTime()
    ->Iterations( 1 );

} // namespace

BENCHMARK_MAIN();
