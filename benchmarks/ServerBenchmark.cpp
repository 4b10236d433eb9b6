// What one transaction on the emulated board costs over a bare ping-pong of the same bytes.
#include "benchmarks/support/AnsweringServer.h"
#include "benchmarks/support/BarePingPong.h"
#include "benchmarks/support/BoardServer.h"
#include "benchmarks/support/Interleaved.h"

#include <benchmark/benchmark.h>
#include <iterator>
#include <vector>

namespace {

// Reads of one byte, as the batch benchmark has them, on two busses in turn: no frame equals the
// one before. The bare server answers 0x19, which is what both sensors read on this board: the
// answers agree to the byte.
constexpr unsigned chipAddress = 0x48;
constexpr unsigned busNumbers[] = { 1, 2 };
constexpr const char *board = R"({ "busses": [
    { "master": "I2C", "bus": 1, "chips": [
        { "name": "inlet", "type": "LM75", "address": "0x48", "set": { "temperature": 25 } } ] },
    { "master": "I2C", "bus": 2, "chips": [
        { "name": "outlet", "type": "LM75", "address": "0x48", "set": { "temperature": 25 } } ] }
    ] })";

Smbus::TransactionRequest readsOf( int count, unsigned busNumber ) {
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

bool answersAgree( BarePingPong &bare, BarePingPong &served ) {
    for ( size_t i = 0; i < std::size( busNumbers ); ++i ) {
        bare.batch();
        served.batch();
        if ( bare.answer().SerializeAsString() != served.answer().SerializeAsString() ) {
            return false;
        }
    }
    return true;
}

void Transaction( benchmark::State &state ) {
    static const AnsweringServer bareServer;
    static const BoardServer boardServer( board );
    std::vector<Smbus::TransactionRequest> batches;
    for ( const unsigned each : busNumbers ) {
        batches.push_back( readsOf( static_cast<int>( state.range( 0 ) ), each ) );
    }
    BarePingPong bare( bareServer.path(), batches );
    BarePingPong served( boardServer.path(), batches );
    if ( !answersAgree( bare, served ) ) {
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
