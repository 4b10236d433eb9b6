// A simulated fetch against the bare system calls that it is made of.
#include "benchmarks/support/Interleaved.h"
#include "KavraGeneric/Ham/SimHam.h"

#include <benchmark/benchmark.h>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <filesystem>
#include <fstream>
#include <string>
#include <sys/mman.h>
#include <unistd.h>

namespace {

namespace fs = std::filesystem;

class Folder {
  public:
    Folder() {
        char name[] = "/tmp/kavra-bench-XXXXXX";
        path = mkdtemp( name );
        setenv( "KAVRALIB_SIMDIR", path.c_str(), 1 );
    }
    Folder( const Folder & ) = delete;
    Folder &operator=( const Folder & ) = delete;
    ~Folder() { fs::remove_all( path ); }

    fs::path path;
};

const Folder &simulationFolder() {
    static const Folder folder;
    return folder;
}

Utils::ExpectedValues &table() {
    static Utils::ExpectedValues values = { { 0, { 39, 2 } }, { 2, { 110, 2 } } };
    return values;
}

Ham::SimHam &simulatedDevice() {
    static Ham::SimHam *ham = [] {
        simulationFolder();
        auto *made = new Ham::SimHam;
        made->setDriverName( "bench", "" );
        made->setExpected( &table() );
        return made;
    }();
    return *ham;
}

void lockWhole( int fd, short type, int command ) {
    struct flock whole {};
    whole.l_type = type;
    whole.l_whence = SEEK_SET;
    whole.l_pid = getpid();
    fcntl( fd, command, &whole );
}

void bareSequence( const char *path, size_t size, char *out, size_t length ) {
    const int fd = open( path, O_RDONLY | O_CLOEXEC );
    lockWhole( fd, F_RDLCK, F_SETLKW );
    void *mapping = mmap( nullptr, size, PROT_READ, MAP_PRIVATE, fd, 0 );
    memcpy( out, mapping, length );
    lockWhole( fd, F_UNLCK, F_SETLK );
    close( fd );
    munmap( mapping, size );
}

void SimulatedFetch( benchmark::State &state ) {
    Ham::SimHam &ham = simulatedDevice();
    const std::string path = simulationFolder().path / "bench";
    char digits[4];
    ham.addRead16( 0 );
    for ( auto _ : state ) {
        const Interleaved result = interleave(
            100, 500, [&] { bareSequence( path.c_str(), 8, digits, sizeof digits ); },
            [&] { benchmark::DoNotOptimize( ham.get16( 0 ) ); } );
        state.SetIterationTime( result.testNs * 1e-9 );
        state.counters["base_ns"] = result.baseNs;
        state.counters["control"] = result.control;
        state.counters["ratio"] = result.ratio();
    }
}
BENCHMARK( SimulatedFetch )->UseManualTime()->Iterations( 1 );

double mappings() {
    std::ifstream maps( "/proc/self/maps" );
    double lines = 0;
    for ( std::string line; std::getline( maps, line ); ) {
        ++lines;
    }
    return lines;
}

double residentPages() {
    std::ifstream statm( "/proc/self/statm" );
    double total = 0;
    double resident = 0;
    statm >> total >> resident;
    return resident;
}

void ManyAccesses( benchmark::State &state ) {
    Ham::SimHam &ham = simulatedDevice();
    uint16_t value = 0;
    ham.read16( 0, &value );
    ham.write16( 0, 39, false );
    const double mappingsBefore = mappings();
    const double residentBefore = residentPages();
    for ( auto _ : state ) {
        for ( int i = 0; i < 100'000; ++i ) {
            ham.read16( 0, &value );
            ham.write16( 0, value, false );
        }
    }
    state.counters["mappings_added"] = mappings() - mappingsBefore;
    state.counters["pages_added"] = residentPages() - residentBefore;
}
BENCHMARK( ManyAccesses )->Iterations( 1 )->Unit( benchmark::kMillisecond );

} // namespace

BENCHMARK_MAIN();
