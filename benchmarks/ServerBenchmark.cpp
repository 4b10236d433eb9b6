// What one transaction on the emulated board costs over a bare ping-pong of the same bytes.
#include "benchmarks/support/AnsweringServer.h"
#include "benchmarks/support/BarePingPong.h"
#include "benchmarks/support/BoardServer.h"
#include "benchmarks/support/Interleaved.h"

#include <benchmark/benchmark.h>

namespace {

// Reads of one byte, as the batch benchmark has them. The bare server answers 0x19, which is what
// the sensor reads on this board: the answers agree to the byte.
constexpr unsigned busNumber = 1;
constexpr unsigned chipAddress = 0x48;
constexpr const char *board = R"({ "busses": [ { "master": "I2C", "bus": 1, "chips": [
    { "name": "inlet", "type": "LM75", "address": "0x48", "set": { "temperature": 25 } } ] } ] })";

Smbus::TransactionRequest readsOf( int count ) {
    Smbus::TransactionRequest batch;
    for ( int i = 0; i < count; ++i ) {
        Smbus::Request &request = *batch.add_request();
        request.set_address( uint64_t{ 1 } << 57 | uint64_t{ busNumber } << 39 |
                             uint64_t{ chipAddress } << 32 );
        request.set_type( Smbus::READ );
        request.set_length( 1 );
        request.set_pci( 0 );
        request.set_mastertype( Smbus::I2C );
        request.set_flag( false );
    }
    return batch;
}

void Transaction( benchmark::State &state ) {
    static const AnsweringServer bareServer;
    static const BoardServer boardServer( board );
    const Smbus::TransactionRequest batch = readsOf( static_cast<int>( state.range( 0 ) ) );
    BarePingPong bare( bareServer.path(), batch );
    BarePingPong served( boardServer.path(), batch );
    bare.batch();
    served.batch();
    if ( bare.answer().SerializeAsString() != served.answer().SerializeAsString() ) {
        state.SkipWithError( "the answers differ" );
        return;
    }
    for ( auto _ : state ) {
        const Interleaved result = interleave(
            200, 100, [&] { bare.batch(); }, [&] { served.batch(); } );
        state.SetIterationTime( result.testNs * 1e-9 );
        state.counters["base_ns"] = result.baseNs;
        state.counters["control"] = result.control;
        state.counters["ratio"] = result.ratio();
    }
}
BENCHMARK( Transaction )
    ->Arg( 1 )
    ->Arg( 4 )
    ->Arg( 16 )
    ->Arg( 64 )
    ->UseManualTime()
    ->Iterations( 1 );

} // namespace

BENCHMARK_MAIN();
