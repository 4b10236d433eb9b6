/*
 * The smallest host: loads the platform library, adds one LM75 sensor and prints its temperature.
 *
 *     minimal_host LIBRARY TOPOLOGY
 *
 * The SMBus server must be running; SMBUSD_SOCKET names its socket. The program is linked with
 * -rdynamic, because the library finds the services below in the program that loaded it.
 */
#include <PlatformLibrary/pl.h>

#include <dlfcn.h>
#include <stdarg.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

/* The library keeps a pointer to it, so it lives as long as the program does. */
static const char arguments[] =
    "{ \"did\": 1, \"driver\": \"LM75\", \"address\": { \"address\": 72 } }";
static const float alertCelsius = 45, criticalCelsius = 55;

void pl_trace( int level, const char *format, ... ) {
    va_list values;
    va_start( values, format );
    if ( level == 0 ) {
        vfprintf( stderr, format, values );
        fputc( '\n', stderr );
    }
    va_end( values );
}

/* A host with LEDs and transceivers has an event loop to run timers from; a sensor needs none. */
pl_timer *pl_timer_add( void ( *callback )( void *context ), void *context ) {
    ( void )callback;
    ( void )context;
    return NULL;
}

int pl_timer_set( pl_timer *timer, int period ) {
    ( void )timer;
    ( void )period;
    return -1;
}

void pl_timer_delete( pl_timer *timer ) {
    ( void )timer;
}

static char *readFile( const char *path ) {
    static char text[1 << 20];
    FILE *file = fopen( path, "r" );
    if ( !file ) {
        perror( path );
        exit( 2 );
    }
    text[fread( text, 1, sizeof text - 1, file )] = '\0';
    fclose( file );
    return text;
}

/* dlsym() returns a data pointer; copying its bytes makes a function pointer of it in plain C. */
static void entryPoint( void *library, const char *name, void *function ) {
    void *symbol = dlsym( library, name );
    if ( !symbol ) {
        fprintf( stderr, "%s\n", dlerror() );
        exit( 3 );
    }
    memcpy( function, &symbol, sizeof symbol );
}

int main( int count, char **words ) {
    if ( count != 3 ) {
        fprintf( stderr, "usage: %s LIBRARY TOPOLOGY\n", words[0] );
        return 2;
    }
    void *library = dlopen( words[1], RTLD_NOW );
    if ( !library ) {
        fprintf( stderr, "%s\n", dlerror() );
        return 3;
    }
    pl_status ( *init )( const char * );
    pl_temp_sensor *( *add )( const char *, float, float );
    entryPoint( library, "pl_temp_sensor_init", &init );
    entryPoint( library, "pl_temp_sensor_add", &add );

    pl_status status = init( readFile( words[2] ) );
    pl_temp_sensor *sensor =
        status == PL_STATUS_OK ? add( arguments, alertCelsius, criticalCelsius ) : NULL;
    float celsius = 0;
    if ( sensor ) {
        status = sensor->ops->getTemperature( sensor, &celsius );
    }
    if ( !sensor || status != PL_STATUS_OK ) {
        fprintf( stderr, "no temperature: status %d\n", ( int )status );
        return 1;
    }
    printf( "%.1f C\n", ( double )celsius );
    return 0;
}
