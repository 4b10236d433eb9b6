// Transceiver signals: what a cached read costs over one read across the socket, and what the poll
// of a whole front panel costs over a bare ping-pong of its batch.
#include "benchmarks/support/AnsweringServer.h"
#include "benchmarks/support/BarePingPong.h"
#include "benchmarks/support/Cages.h"
#include "benchmarks/support/Interleaved.h"
#include "KavraGeneric/Components/DeviceBase.h"
#include "KavraGeneric/Drivers/Vunda/VundaGenericXcvrCPLD.h"
#include "KavraGeneric/Topology/Address.h"

#include <benchmark/benchmark.h>
#include <bit>
#include <deque>
#include <PlatformLibrary/pl.h>
#include <set>

namespace {

using Registers = std::set<unsigned>;

/// The front panel of the VundaT, with every signal used once, so that the poll reads it.
struct FrontPanel {
    FrontPanel() {
        static const std::string board = boardOfCages();
        ready = pl_xcvr_init( board.c_str() ) == PL_STATUS_OK;
        for ( int port = 1; ready && port <= 32; ++port ) {
            addQsfp( port );
        }
        for ( int port = 1; ready && port <= 2; ++port ) {
            addSfp( port );
        }
    }

    void addQsfp( int port ) {
        texts.push_back( qsfpArguments( port ) );
        cage = pl_xcvr_add( texts.back().c_str() );
        const pl_qsfp_ops &ops = cage->ops->u.qsfp;
        int value = 0;
        ops.getPresence( cage );
        ops.getReset( cage, &value );
        ops.getInterrupt( cage, &value );
    }

    void addSfp( int port ) {
        texts.push_back( sfpArguments( port ) );
        pl_xcvr *sfp = pl_xcvr_add( texts.back().c_str() );
        const pl_sfp_ops &ops = sfp->ops->u.sfp;
        int value = 0;
        ops.getPresence( sfp );
        ops.getRxLos( sfp, &value );
        ops.getTxFault( sfp, &value );
        ops.getTxDisable( sfp, &value );
    }

    static Drivers::VundaGenericXcvrCPLD &cpld() {
        return dynamic_cast<Drivers::VundaGenericXcvrCPLD &>(
            *Component::DeviceBase::devices.at( 1 ) );
    }

    bool ready = false;
    pl_xcvr *cage = nullptr; ///< the last QSFP port

  private:
    std::deque<std::string> texts; // devices keep pointers to theirs
};

const AnsweringServer &server() {
    static const AnsweringServer answering;
    return answering;
}

FrontPanel &panel() {
    server();
    static FrontPanel made;
    return made;
}

Registers polledRegisters() {
    Registers all = { 0x40, 0x41, 0x42, 0x43 };
    for ( const unsigned first : { 0x10U, 0x20U, 0x30U } ) {
        for ( unsigned group = 0; group < 4; ++group ) {
            all.insert( first + group );
        }
    }
    return all;
}

Smbus::TransactionRequest readsOf( const Registers &registers ) {
    Smbus::TransactionRequest batch;
    for ( const unsigned reg : registers ) {
        AhamAddress address{};
        address.address = 96;
        address.bus = 1;
        address.addrSize = 1;
        address.reg = reg;
        Smbus::Request &request = *batch.add_request();
        request.set_address( std::bit_cast<uint64_t>( address ) );
        request.set_type( Smbus::READ );
        request.set_length( 1 );
        request.set_pci( 0 );
        request.set_mastertype( Smbus::I2C );
        request.set_flag( false );
    }
    return batch;
}

void CachedSignal( benchmark::State &state ) {
    FrontPanel &board = panel();
    if ( !board.ready ) {
        state.SkipWithError( "no server" );
        return;
    }
    pl_xcvr *cage = board.cage;
    int inReset = 0;
    for ( auto _ : state ) {
        benchmark::DoNotOptimize( cage->ops->u.qsfp.getReset( cage, &inReset ) );
        benchmark::DoNotOptimize( inReset );
    }
}
BENCHMARK( CachedSignal );

// "times_faster": one read over the socket over one cached read, both through the same run.
void CachedSignalAgainstTheSocket( benchmark::State &state ) {
    FrontPanel &board = panel();
    if ( !board.ready ) {
        state.SkipWithError( "no server" );
        return;
    }
    pl_xcvr *cage = board.cage;
    BarePingPong bare( server().path(), readsOf( { 0x20 } ) );
    constexpr int cachedReads = 1'000; // one alone is too short to be timed
    for ( auto _ : state ) {
        int inReset = 0;
        const Interleaved result = interleave(
            200, 50, [&] { bare.batch(); },
            [&] {
                for ( int i = 0; i < cachedReads; ++i ) {
                    benchmark::DoNotOptimize( cage->ops->u.qsfp.getReset( cage, &inReset ) );
                }
            } );
        state.SetIterationTime( result.testNs / cachedReads * 1e-9 );
        state.counters["socket_ns"] = result.baseNs;
        state.counters["control"] = result.control;
        state.counters["times_faster"] = result.baseNs * cachedReads / result.testNs;
    }
}
BENCHMARK( CachedSignalAgainstTheSocket )->UseManualTime()->Iterations( 1 );

// The base is one batch with one read a distinct register: a poll of 34 ports is no more.
void PollOf34Ports( benchmark::State &state ) {
    FrontPanel &board = panel();
    if ( !board.ready ) {
        state.SkipWithError( "no server" );
        return;
    }
    const Registers registers = polledRegisters();
    Drivers::VundaGenericXcvrCPLD &cpld = FrontPanel::cpld();
    BarePingPong bare( server().path(), readsOf( registers ) );
    for ( auto _ : state ) {
        const Interleaved result = interleave(
            200, 50, [&] { bare.batch(); }, [&] { cpld.pollCallback(); } );
        state.SetIterationTime( result.testNs * 1e-9 );
        state.counters["base_ns"] = result.baseNs;
        state.counters["control"] = result.control;
        state.counters["ratio"] = result.ratio();
        state.counters["registers"] = static_cast<double>( registers.size() );
    }
}
BENCHMARK( PollOf34Ports )->UseManualTime()->Iterations( 1 );

} // namespace

BENCHMARK_MAIN();
