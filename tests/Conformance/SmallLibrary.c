/* A platform library without a board: every device reads as well as it can. Built once as it should
   be, and once for each way to be wrong that the definitions name. */
#define _POSIX_C_SOURCE 200809L
#include <PlatformLibrary/pl.h>

#include <fcntl.h>
#include <pthread.h>
#include <signal.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <unistd.h>

#ifndef NULL_SLOT
#define NULL_SLOT 0
#endif
#ifndef ACCEPTS_ANY_LIGHT
#define ACCEPTS_ANY_LIGHT 0
#endif
/* Null: operations that the class does not have. */
#ifndef NULL_LIGHT
#define NULL_LIGHT 0
#endif
#ifndef TAKES_ANY_TOPOLOGY
#define TAKES_ANY_TOPOLOGY 0
#endif
#ifndef WRITES_HOST_WORD
#define WRITES_HOST_WORD 0
#endif
#ifndef SIZE_IS_SHORT
#define SIZE_IS_SHORT 0
#endif
#ifndef WRITES_ON_FAILURE
#define WRITES_ON_FAILURE 0
#endif
#ifndef STARTS_A_THREAD
#define STARTS_A_THREAD 0
#endif
#ifndef OPENS_A_FILE
#define OPENS_A_FILE 0
#endif
#ifndef TALKS
#define TALKS 0
#endif
#ifndef READS_THE_ENVIRONMENT
#define READS_THE_ENVIRONMENT 0
#endif
#ifndef DELETES_TIMERS
#define DELETES_TIMERS 0
#endif
#ifndef STOPS_THE_RUN
#define STOPS_THE_RUN 0
#endif
#ifndef CRASHES
#define CRASHES 0
#endif
#ifndef HANGS
#define HANGS 0
#endif

/* What the compiler may not know, so that it warns of no code behind it. */
static volatile int crashes = CRASHES;
static volatile int hangs = HANGS;

static void *waitForEver( void *unused ) {
    for ( ;; ) {
        pause();
    }
    return unused;
}

static pl_timer *timers[2];

/* Whichever of the two comes first forgets the other one, which is due as well. */
static void deleteOther( void *other ) {
    pl_timer_delete( *( pl_timer ** )other );
    *( pl_timer ** )other = NULL;
}

static void misbehave( pl_temp_sensor *sensor ) {
    if ( WRITES_HOST_WORD ) {
        sensor->host = 1;
    }
    if ( STARTS_A_THREAD ) {
        pthread_t thread;
        pthread_create( &thread, NULL, waitForEver, NULL );
    }
    if ( OPENS_A_FILE && open( "/dev/null", O_RDONLY ) < 0 ) {
        abort();
    }
    if ( TALKS ) {
        puts( "the small library reads" );
    }
    if ( READS_THE_ENVIRONMENT ) {
        const char *const home = getenv( "HOME" );
        const char *const language = getenv( "LANG" );
        pl_trace( 7, "%s %s", home != NULL ? home : "", language != NULL ? language : "" );
    }
    if ( STOPS_THE_RUN ) {
        kill( getppid(), SIGTERM );
        pause();
    }
    if ( DELETES_TIMERS ) {
        timers[0] = pl_timer_add( deleteOther, &timers[1] );
        timers[1] = pl_timer_add( deleteOther, &timers[0] );
        pl_timer_set( timers[0], 1 );
        pl_timer_set( timers[1], 1 );
    }
}

static pl_status getTemperature( pl_temp_sensor *sensor, float *celsius ) {
    misbehave( sensor );
    if ( crashes ) {
        __builtin_trap();
    }
    while ( hangs ) {
        pause();
    }
    *celsius = 24.5F;
    return PL_STATUS_OK;
}
static const pl_temp_sensor_ops tempSensorOps = {
    sizeof( pl_temp_sensor_ops ) - ( SIZE_IS_SHORT ? 8 : 0 ), 0, NULL, getTemperature
};

static pl_status debugInfo( const pl_fan *fan, char **text ) {
    ( void )fan;
    ( void )text;
    return PL_STATUS_OK;
}
static pl_status getRpm( pl_fan *fan, int *rpm ) {
    ( void )fan;
    *rpm = 9000;
    return WRITES_ON_FAILURE ? PL_STATUS_IO_ERROR : PL_STATUS_OK;
}
static pl_status setRpm( pl_fan *fan, int rpm ) {
    ( void )fan;
    ( void )rpm;
    return PL_STATUS_OK;
}
static const pl_fan_ops fanOps = { sizeof( pl_fan_ops ), 0, debugInfo, getRpm,
                                   NULL_SLOT ? NULL : setRpm };

static pl_status powerOk( pl_psu *psu, int *good ) {
    ( void )psu;
    *good = 1;
    return PL_STATUS_OK;
}
static pl_status one( pl_psu *psu, float *value ) {
    ( void )psu;
    *value = 1;
    return PL_STATUS_OK;
}
static const pl_psu_ops psuOps = {
    sizeof( pl_psu_ops ), 0, NULL, powerOk, one, one, one, one, one, one
};

static pl_status isEmpty( pl_slot *slot, char **fdl ) {
    ( void )slot;
    ( void )fdl;
    return PL_STATUS_NOT_PRESENT;
}
static const pl_slot_ops slotOps = { sizeof( pl_slot_ops ), 0, isEmpty };

static pl_status setLight( pl_led *led, pl_led_status setting ) {
    ( void )led;
    return ACCEPTS_ANY_LIGHT || setting <= PL_LED_BEACON ? PL_STATUS_OK : PL_STATUS_INVALID;
}
static const pl_led_ops ledOps = { sizeof( pl_led_ops ), 0, NULL_LIGHT ? NULL : setLight };

static pl_status clear( pl_gpio *gpio ) {
    ( void )gpio;
    return PL_STATUS_OK;
}
static pl_status bitRead( pl_gpio *gpio, unsigned *value ) {
    ( void )gpio;
    *value = 0;
    return PL_STATUS_OK;
}
static const pl_gpio_ops gpioOps = { sizeof( pl_gpio_ops ), 0, clear, clear, bitRead };

static int isAbsent( pl_xcvr *xcvr ) {
    ( void )xcvr;
    return PL_STATUS_NOT_PRESENT;
}
static pl_status getLine( pl_xcvr *xcvr, int *value ) {
    ( void )xcvr;
    *value = 0;
    return PL_STATUS_OK;
}
static pl_status setLine( pl_xcvr *xcvr, int value ) {
    ( void )xcvr;
    ( void )value;
    return PL_STATUS_OK;
}
static const pl_xcvr_ops sfpOps = { sizeof( pl_xcvr_ops ),
                                    PL_XCVR_SFP,
                                    { .sfp = { sizeof( pl_sfp_ops ), isAbsent, getLine, getLine,
                                               getLine, setLine } } };
static const pl_xcvr_ops qsfpOps = { sizeof( pl_xcvr_ops ),
                                     PL_XCVR_QSFP,
                                     { .qsfp = { sizeof( pl_qsfp_ops ), isAbsent, getLine, setLine,
                                                 getLine, setLine, getLine, setLine, getLine } } };

static const pl_smbus_ops smbusOps = { .size = sizeof( pl_smbus_ops ) };
static const pl_system_ops systemOps = { .size = sizeof( pl_system_ops ) };

/* Every record has the same two words. */
static void *newRecord( const void *ops, const char *arguments ) {
    const void **record = NULL;
    if ( arguments == NULL || arguments[0] != '{' || strstr( arguments, "driver" ) == NULL ) {
        pl_trace( 0, "no device of '%s'", arguments == NULL ? "" : arguments );
        return NULL;
    }
    record = calloc( 2, sizeof( uint64_t ) );
    if ( record != NULL ) {
        record[1] = ops;
    }
    return record;
}

/* What stands in every topology is looked for, and no more. */
#define INIT( class )                                                                              \
    pl_status pl_##class##_init( const char *topology ) {                                          \
        return TAKES_ANY_TOPOLOGY || ( topology != NULL && strstr( topology, "\"ham\"" ) != NULL ) \
                   ? PL_STATUS_OK                                                                  \
                   : PL_STATUS_INVALID;                                                            \
    }
#define ADD( class, ops )                                                                          \
    pl_##class *pl_##class##_add( const char *arguments ) {                                        \
        return newRecord( ops, arguments );                                                        \
    }

INIT( slot )
INIT( led )
INIT( temp_sensor )
INIT( fan )
INIT( xcvr )
INIT( psu )
INIT( gpio )
INIT( smbus )
INIT( system )

ADD( slot, &slotOps )
ADD( led, &ledOps )
ADD( fan, &fanOps )
ADD( psu, &psuOps )
ADD( gpio, &gpioOps )

pl_temp_sensor *pl_temp_sensor_add( const char *arguments, float alert, float critical ) {
    ( void )alert;
    ( void )critical;
    return newRecord( &tempSensorOps, arguments );
}
pl_xcvr *pl_xcvr_add( const char *arguments ) {
    return newRecord( strstr( arguments, "qsfp" ) != NULL ? &qsfpOps : &sfpOps, arguments );
}
pl_smbus *pl_smbus_add( const char *bus, unsigned address ) {
    ( void )bus;
    ( void )address;
    return newRecord( &smbusOps, "{ driver }" );
}
pl_system *pl_system_add( const char *arguments ) {
    ( void )arguments;
    return newRecord( &systemOps, "{ driver }" );
}
