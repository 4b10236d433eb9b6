// The fuzzer's way into one target, which the build names, and out of a failed assertion.
#include "fuzz/Contract.h"
#include "fuzz/Targets.h"

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>

extern "C" int LLVMFuzzerTestOneInput( const uint8_t *data, size_t size ) {
    Fuzz::FUZZ_TARGET( { reinterpret_cast<const char *>( data ), size } );
    return 0;
}

// What the library calls in place of the system's function: see fuzz/assert/assert.h.
extern "C" [[noreturn]] void kavraFuzzAssertFail( const char *text, const char *file, unsigned line,
                                                  const char *function ) {
    if ( Fuzz::isAssertionOfContract( text, file ) ) {
        throw Fuzz::AssertionOfContract();
    }
    fprintf( stderr, "%s:%u: %s: assertion '%s' is not in fuzz/assertions.txt\n", file, line,
             function, text );
    abort();
}
