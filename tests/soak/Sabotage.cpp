#include "tests/soak/Sabotage.h"

#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <sys/mman.h>

namespace Soak {

constexpr uint64_t oneTurnIn = 50;
constexpr size_t leakedBytes = 65536; // of a block; larger ones would be mappings of their own
constexpr int leakedBlocks = 4;

bool isSabotaged( uint64_t turn ) {
    return turn % oneTurnIn == 0;
}

// Neighbours of one kind would be one mapping.
static void leakMapping( uint64_t turn ) {
    const int protection = turn % ( 2 * oneTurnIn ) == 0 ? PROT_READ : PROT_NONE;
    mmap( nullptr, 1, protection, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0 );
}

// Through a volatile pointer: the compiler may drop an allocation that nobody uses.
static void leakMemory() {
    for ( int block = 0; block < leakedBlocks; ++block ) {
        char *volatile bytes = static_cast<char *>( malloc( leakedBytes ) );
        if ( bytes != nullptr ) {
            memset( bytes, 1, leakedBytes );
        }
    }
}

void leak( Sabotage sabotage, uint64_t turn ) {
    switch ( sabotage ) {
    case Sabotage::Descriptor:
        static_cast<void>( open( "/dev/null", O_RDONLY | O_CLOEXEC ) );
        break;
    case Sabotage::Mapping:
        leakMapping( turn );
        break;
    case Sabotage::Memory:
        leakMemory();
        break;
    default:
        break;
    }
}

} // namespace Soak
