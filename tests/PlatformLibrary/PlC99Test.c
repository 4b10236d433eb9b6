/* The contract as a C host sees it: it compiles as C99, and every table has its size and every slot
   its place. A host and a library that were built apart meet on these numbers alone. */
#include <PlatformLibrary/pl.h>

#include <stddef.h>

#define CHECK( condition, name ) typedef char check_##name[( condition ) ? 1 : -1]
#define SIZE( type, bytes ) CHECK( sizeof( type ) == ( bytes ), size_of_##type )
#define SLOT( type, slot, bytes ) CHECK( offsetof( type, slot ) == ( bytes ), type##_##slot )

#include "tests/PlatformLibrary/Layout.h"

int compiledAsC99( void );

int compiledAsC99( void ) {
    pl_status status = PL_STATUS_FAILED;
    return __STDC_VERSION__ == 199901L && PL_LED_BEACON == 6 && status == 6;
}
