// Loading a topology against parsing its text alone, walking it, and adding its devices.
#include "benchmarks/support/AnsweringServer.h"
#include "benchmarks/support/Boards.h"
#include "benchmarks/support/Interleaved.h"
#include "KavraGeneric/Components/DeviceBase.h"
#include "KavraGeneric/Ham/KavraSmbusHam.h"
#include "KavraGeneric/Json.h"
#include "KavraGeneric/Library.h"
#include "KavraGeneric/Topology/Loader.h"
#include "KavraGeneric/Topology/Topology.h"

#include <benchmark/benchmark.h>
#include <vector>

namespace {

void LoadLabelledDevices( benchmark::State &state ) {
    const std::string text = boardOfSensors( static_cast<int>( state.range( 0 ) ) );
    const auto parse = [&] {
        rapidjson::Document document;
        document.Parse( text.c_str() );
        benchmark::DoNotOptimize( document.IsArray() );
    };
    const auto load = [&] {
        Topology::_topology_json.clear(); // so that the same text is loaded again
        Topology::loadTopology( text.c_str() );
    };
    for ( auto _ : state ) {
        const Interleaved result = interleave( 30, 3, parse, load );
        state.SetIterationTime( result.testNs * 1e-9 );
        state.counters["parse_us"] = result.baseNs / 1000;
        state.counters["control"] = result.control;
        state.counters["ratio"] = result.ratio();
    }
}
BENCHMARK( LoadLabelledDevices )->Arg( 10'000 )->UseManualTime()->Iterations( 1 );

void WalkWholeTree( benchmark::State &state ) {
    const std::string text = boardOfSensors( static_cast<int>( state.range( 0 ) ) );
    Topology::loadTopology( text.c_str() );
    class : public Topology::TopologyVisitor {
    } visitor;
    const auto nodes = static_cast<double>( state.range( 0 ) + 3 ); // and bus, medium, topology
    for ( auto _ : state ) {
        const double walk = sliceNs(
            20'000, [&] { benchmark::DoNotOptimize( Topology::_topology->accept( &visitor ) ); } );
        state.SetIterationTime( walk * 1e-9 );
        state.counters["ns_per_node"] = walk / nodes;
    }
}
BENCHMARK( WalkWholeTree )->Arg( 1'000 )->UseManualTime()->Iterations( 1 );

// A round trip of the two threshold writes that adding a sensor makes.
double roundTripNs() {
    AhamAddress address{};
    address.address = 72;
    address.addrSize = 1;
    Ham::KavraSmbusHam *ham = Ham::KavraSmbusHam::createFromAddress( address, 0 );
    ham->init();
    return sliceNs( 2'000, [&] { ham->write16( 2, 0, false ); } );
}

void AddSensors( benchmark::State &state ) {
    static const AnsweringServer server;
    const auto count = static_cast<int>( state.range( 0 ) );
    const std::string text = boardOfSensors( count );
    if ( pl_temp_sensor_init( text.c_str() ) != PL_STATUS_OK ) {
        state.SkipWithError( "no server" );
        return;
    }
    std::vector<std::string> arguments;
    for ( int did = 0; did < count; ++did ) {
        arguments.push_back( sensorArguments( did ) );
    }
    const double roundTrip = roundTripNs();
    for ( auto _ : state ) {
        Component::DeviceBase::devices.clear();
        const auto start = std::chrono::steady_clock::now();
        for ( const std::string &sensor : arguments ) {
            pl_temp_sensor_add( sensor.c_str(), 80, 90 );
        }
        const std::chrono::duration<double> time = std::chrono::steady_clock::now() - start;
        state.SetIterationTime( time.count() );
        constexpr int roundTripsPerSensor = 2;
        const double beyond = time.count() * 1e9 / count - roundTripsPerSensor * roundTrip;
        state.counters["round_trip_us"] = roundTrip / 1000;
        state.counters["us_beyond_round_trips"] = beyond / 1000;
    }
}
BENCHMARK( AddSensors )->Arg( 100 )->Arg( 1'000 )->Arg( 10'000 )->UseManualTime()->Iterations( 1 );

} // namespace

BENCHMARK_MAIN();
