// Checking a board's documents against parsing them alone.
#include "HostTool/Check/Check.h"

#include <algorithm>
#include <benchmark/benchmark.h>
#include <ctime>
#include <limits>
#include <string>

namespace {

using HostTool::Check::DocumentSet;
using HostTool::Check::Kind;
using HostTool::Check::Severity;

struct Texts {
    std::string topology;
    std::string devices;
};

constexpr int channels = 8;
constexpr int sensorsPerChannel = 8;

std::string number( int value ) {
    return std::to_string( value );
}

// As a person writes them: an entry a line, blanks between the parts.
void addSensor( Texts &texts, int did, int address, bool isFirst ) {
    const std::string name = "sensor-" + number( did );
    texts.topology += std::string( isFirst ? "" : "," ) +
                      "\n                { \"did\": " + number( did ) + ", \"label\": \"" + name +
                      "\" }";
    texts.devices += std::string( did == 0 ? "" : "," ) +
                     "\n    {\n        \"class\": \"temp_sensor\",\n        \"name\": \"" + name +
                     "\",\n        \"arguments\": { \"name\": \"" + name +
                     "\", \"did\": " + number( did ) +
                     ", \"driver\": \"LM75\", \"address\": { \"address\": " + number( address ) +
                     " } },\n        \"thresholds\": { \"alert\": 45, \"critical\": 55 }\n    }";
}

/// Busses with a mux each, and on each channel as many sensors as have an address.
Texts boardOf( int sensors ) {
    constexpr int firstAddress = 72;
    constexpr int firstMux = 1'000'000;
    Texts texts = { "[", "[" };
    int did = 0;
    for ( int bus = 0; did < sensors; ++bus ) {
        const std::string mux = number( firstMux + bus );
        texts.topology +=
            std::string( bus == 0 ? "" : "," ) +
            "\n    { \"type\": \"SCD\", \"ham\": \"KavraSmbus\", \"pci\": " + number( bus ) +
            ", \"accelerators\": [ { \"id\": 0, \"busses\": [\n"
            "        { \"id\": 1, \"devices\": [ { \"did\": " +
            mux +
            ", \"driver\": \"PCA9548\", \"address\": { \"address\": 112 } } ],\n"
            "          \"muxes\": [ { \"did\": " +
            mux + ", \"busses\": [";
        for ( int channel = 0; channel < channels; ++channel ) {
            texts.topology += std::string( channel == 0 ? "" : "," ) +
                              "\n            { \"id\": " + number( 1 << channel ) +
                              ", \"devices\": [";
            for ( int i = 0; i < sensorsPerChannel && did < sensors; ++i, ++did ) {
                addSensor( texts, did, firstAddress + i, i == 0 );
            }
            texts.topology += " ] }";
        }
        texts.topology += " ] } ] } ] } ] }";
    }
    texts.topology += "\n]\n";
    texts.devices += "\n]\n";
    return texts;
}

void parse( const std::string &text ) {
    rapidjson::Document document;
    document.Parse( text.c_str() );
    benchmark::DoNotOptimize( document.IsArray() );
}

/// Of this thread alone: a piece of work as long as this is interrupted on any busy machine.
double processorSeconds() {
    timespec time;
    clock_gettime( CLOCK_THREAD_CPUTIME_ID, &time );
    constexpr double nanosecond = 1e-9;
    return static_cast<double>( time.tv_sec ) + static_cast<double>( time.tv_nsec ) * nanosecond;
}

template <typename Work>
double secondsOf( const Work &work ) {
    const double start = processorSeconds();
    work();
    return processorSeconds() - start;
}

/// The fastest slice of each counts. They take turns, so that what slows the machine down hits
/// both.
void CheckBoard( benchmark::State &state ) {
    const Texts texts = boardOf( static_cast<int>( state.range( 0 ) ) );
    size_t findings = 0;
    const auto parseBoth = [&] {
        parse( texts.topology );
        parse( texts.devices );
    };
    const auto checkBoth = [&] {
        DocumentSet documents;
        documents.add( Kind::topology, "topology.json", texts.topology );
        documents.add( Kind::devices, "devices.json", texts.devices );
        findings = check( documents ).all().size();
    };
    for ( auto _ : state ) {
        double parsing = std::numeric_limits<double>::max();
        double checking = parsing;
        constexpr int slices = 40;
        for ( int slice = 0; slice < slices; ++slice ) {
            parsing = std::min( parsing, secondsOf( parseBoth ) );
            checking = std::min( checking, secondsOf( checkBoth ) );
        }
        constexpr double microseconds = 1e6;
        state.SetIterationTime( checking );
        state.counters["parse_us"] = parsing * microseconds;
        state.counters["ratio"] = checking / parsing;
        state.counters["findings"] = static_cast<double>( findings );
    }
}
BENCHMARK( CheckBoard )->Arg( 100 )->Arg( 10'000 )->UseManualTime()->Iterations( 1 );

} // namespace

BENCHMARK_MAIN();
