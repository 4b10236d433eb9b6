/* Links the platform library instead of loading it, and hands it a text that is no document. */
#include <PlatformLibrary/pl.h>

#include <stdio.h>

void pl_trace( int level, const char *format, ... ) {
    ( void )level;
    ( void )format;
}

int main( void ) {
    printf( "status %d\n", ( int )pl_temp_sensor_init( "no document" ) );
    return 0;
}
