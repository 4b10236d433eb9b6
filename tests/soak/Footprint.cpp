#include "tests/soak/Footprint.h"

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <stdexcept>
#include <unistd.h>

namespace Soak {

namespace fs = std::filesystem;

static uint64_t entriesOf( const fs::path &folder ) {
    return static_cast<uint64_t>(
        std::distance( fs::directory_iterator( folder ), fs::directory_iterator() ) );
}

static uint64_t linesOf( const fs::path &file ) {
    std::ifstream stream( file );
    return static_cast<uint64_t>(
        std::count( std::istreambuf_iterator<char>( stream ), {}, '\n' ) );
}

static uint64_t residentKiB( const fs::path &process ) {
    std::ifstream stream( process / "statm" );
    uint64_t size = 0;
    uint64_t resident = 0;
    if ( !( stream >> size >> resident ) ) {
        throw std::runtime_error( process.string() + " cannot be read" );
    }
    return resident * static_cast<uint64_t>( sysconf( _SC_PAGESIZE ) ) / 1024;
}

Footprint Footprint::of( pid_t pid ) {
    const fs::path process = "/proc/" + std::to_string( pid );
    return { { residentKiB( process ), linesOf( process / "maps" ), entriesOf( process / "fd" ),
               entriesOf( process / "task" ) } };
}

void FootprintWatch::add( const Footprint &footprint, double progress ) {
    if ( progress < warmUp ) {
        return;
    }
    Footprint &half = progress < 0.5 ? firstHalf_ : lastHalf_;
    for ( size_t kind = 0; kind < half.amounts.size(); ++kind ) {
        half.amounts[kind] = std::max( half.amounts[kind], footprint.amounts[kind] );
    }
}

std::string FootprintWatch::growth() const {
    std::string found;
    for ( size_t kind = 0; kind < Footprint::names.size(); ++kind ) {
        const uint64_t allowed = firstHalf_.amounts[kind] + Footprint::slack[kind];
        const bool counts = kind != Footprint::Resident || residentCounts_;
        if ( counts && lastHalf_.amounts[kind] > allowed ) {
            found += name_ + ": " + Footprint::names[kind] + ": " +
                     std::to_string( lastHalf_.amounts[kind] ) + " in the last half of the run, " +
                     std::to_string( firstHalf_.amounts[kind] ) + " in the first half\n";
        }
    }
    return found;
}

} // namespace Soak
