// Stands in front of the system's <assert.h> while the library is compiled for fuzzing. A failed
// assertion of the library's contract ends an input there, not the process: it throws. The system's
// own function promises not to, so that the frames above it could not be unwound.
#include_next <assert.h>

#ifndef KAVRA_FUZZ_ASSERT
#define KAVRA_FUZZ_ASSERT
#ifdef __cplusplus
extern "C"
#endif
    [[noreturn]] void
    kavraFuzzAssertFail( const char *text, const char *file, unsigned line, const char *function );
#define __assert_fail kavraFuzzAssertFail
#endif
