#include "benchmarks/support/Allocations.h"

#include <cstdlib>
#include <new>

static uint64_t count;

uint64_t allocations() {
    return count;
}

void *operator new( size_t size ) {
    ++count;
    if ( void *memory = malloc( size ) ) {
        return memory;
    }
    throw std::bad_alloc();
}

void operator delete( void *memory ) noexcept {
    free( memory );
}

void operator delete( void *memory, size_t ) noexcept {
    free( memory );
}
