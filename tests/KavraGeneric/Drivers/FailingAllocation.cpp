// Stands in place of the C library's functions, for the library under test as well.
#undef _FORTIFY_SOURCE
#include "tests/KavraGeneric/Drivers/FailingAllocation.h"

#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <cstring>

bool allocationFails = false;

extern "C" {

// noexcept, as the C library declares it.
char *strdup( const char *text ) noexcept {
    char *copy =
        allocationFails ? nullptr : static_cast<char *>( std::malloc( strlen( text ) + 1 ) );
    return copy ? strcpy( copy, text ) : nullptr;
}

int asprintf( char **text, const char *format, ... ) noexcept {
    if ( allocationFails ) {
        return -1; // the pointer has no meaning then
    }
    va_list arguments;
    va_start( arguments, format );
    const int length = vasprintf( text, format, arguments );
    va_end( arguments );
    return length;
}

// What asprintf() is in a release build.
int __asprintf_chk( char **text, int, const char *format, ... ) noexcept
    __attribute__( ( format( printf, 3, 4 ) ) );
int __asprintf_chk( char **text, int, const char *format, ... ) noexcept {
    if ( allocationFails ) {
        return -1;
    }
    va_list arguments;
    va_start( arguments, format );
    const int length = vasprintf( text, format, arguments );
    va_end( arguments );
    return length;
}
}
