/// A platform library with no board behind it: the word behind "behave" in the device arguments
/// says what each of its devices does. It stands at the boundary that kavractl loads.
#include <PlatformLibrary/pl.h>

#include <cassert>
#include <cmath>
#include <cstdlib>
#include <cstring>
#include <stdexcept>
#include <string>

namespace {

template <class Record>
struct Device {
    Record record;
    const char *arguments;
};

template <class Record>
bool behaves( const Record *record, const char *word ) {
    return strstr( reinterpret_cast<const Device<Record> *>( record )->arguments, word ) != nullptr;
}

template <class Record>
pl_status statusOf( const Record *record ) {
    if ( behaves( record, "assert-on-read" ) ) {
        assert( record == nullptr && "data.size() == 2" );
    }
    if ( behaves( record, "throw-on-read" ) ) {
        throw std::logic_error( "basic_string: construction from null" );
    }
    if ( behaves( record, "fail-on-read" ) ) {
        pl_trace( 3, "%s: failure in response %s", "execute", "bus 0 chip 0x48: no acknowledge" );
        return PL_STATUS_FAILED;
    }
    if ( behaves( record, "odd-status" ) ) {
        return 17;
    }
    return behaves( record, "absent" ) ? PL_STATUS_NOT_PRESENT : PL_STATUS_OK;
}

/// Writes the output also on failure: a careful host does not look at it then.
template <auto value, class Record, class Out>
pl_status answer( Record *record, Out *out ) {
    if ( behaves( record, "reads-nothing" ) ) {
        return PL_STATUS_OK;
    }
    *out = static_cast<Out>( value );
    return statusOf( record );
}

pl_status temperature( pl_temp_sensor *sensor, float *celsius ) {
    if ( behaves( sensor, "reads-nothing" ) ) {
        return PL_STATUS_OK;
    }
    *celsius = behaves( sensor, "hot" )       ? 50.0F
               : behaves( sensor, "burning" ) ? 60.0F
               : behaves( sensor, "nan" )     ? NAN
                                              : 24.1F;
    return statusOf( sensor );
}

pl_status debugInfo( const pl_fan *fan, char **text ) {
    if ( behaves( fan, "talkative" ) ) {
        *text = strdup( "pwm: 128\nfault: \033no\n" );
    }
    return PL_STATUS_OK;
}

pl_status powerOk( pl_psu *psu, int *good ) {
    *good = behaves( psu, "unwell" ) ? 0 : 1;
    return statusOf( psu );
}

pl_status slotPresence( pl_slot *slot, char **text ) {
    const pl_status status = statusOf( slot );
    if ( status == PL_STATUS_OK ) {
        *text = strdup( behaves( slot, "tray" ) ? "fan.maxRpm = 20000\n"
                                                : "model: PWR-500\nserial: A1\n" );
    }
    return status;
}

int cagePresence( pl_xcvr *xcvr ) {
    return statusOf( xcvr );
}

bool polled = false;
pl_timer *pollTimer = nullptr;
constexpr int pollMilliseconds = 20;

void poll( void * ) {
    polled = true;
    pl_timer_set( pollTimer, pollMilliseconds );
}

pl_status polledSignal( pl_xcvr *xcvr, int *value ) {
    *value = polled ? 1 : 0;
    return statusOf( xcvr );
}

/// Says what it was told, so that a test sees it in the traces.
template <class Record, class Value>
pl_status take( Record *record, const char *what, Value value ) {
    pl_trace( 1, "told %s %d", what, static_cast<int>( value ) );
    return statusOf( record );
}

pl_status setRpm( pl_fan *fan, int rpm ) {
    return take( fan, "rpm", rpm );
}

pl_timer *blinkTimer = nullptr;
constexpr int blinkMilliseconds = 20;

void blink( void * ) {
    pl_trace( 4, "%s() led blink timer hit notifying %zu leds", "blink", size_t{ 1 } );
    pl_timer_set( blinkTimer, blinkMilliseconds );
}

pl_status setLight( pl_led *led, pl_led_status setting ) {
    if ( setting == PL_LED_BEACON ) {
        blinkTimer = pl_timer_add( blink, nullptr );
        pl_timer_set( blinkTimer, blinkMilliseconds );
    }
    if ( setting == PL_LED_INACTIVE ) {
        pl_trace( 0, "led %s was given an unexpected setting %d", "d",
                  static_cast<int>( setting ) );
        return PL_STATUS_INVALID;
    }
    return take( led, "light", setting );
}

pl_status setReset( pl_xcvr *xcvr, int inReset ) {
    return take( xcvr, "reset", inReset );
}

pl_status setTxDisable( pl_xcvr *xcvr, int disabled ) {
    return take( xcvr, "txdisable", disabled );
}

pl_status setLine( pl_gpio *gpio ) {
    return take( gpio, "line", 1 );
}

pl_status clearLine( pl_gpio *gpio ) {
    return take( gpio, "line", 0 );
}

pl_status reloadCause( pl_system *system, char *cause, long *when, char *detail ) {
    strcpy( cause, "power loss" );
    strcpy( detail, "both supplies" );
    *when = 1700000000;
    return behaves( system, "remembers" ) ? PL_STATUS_OK : PL_STATUS_NOT_SUPPORTED;
}

const pl_slot_ops slotOps = { sizeof( pl_slot_ops ), 0, slotPresence };
const pl_led_ops ledOps = { sizeof( pl_led_ops ), 0, setLight };
const pl_temp_sensor_ops tempSensorOps = { sizeof( pl_temp_sensor_ops ), 0, nullptr, temperature };
const pl_fan_ops fanOps = { sizeof( pl_fan_ops ), 0, debugInfo, answer<4200, pl_fan, int>, setRpm };
const pl_fan_ops fixedFanOps = { sizeof( pl_fan_ops ), 0, debugInfo, answer<4200, pl_fan, int>,
                                 nullptr };
const pl_psu_ops psuOps = { sizeof( pl_psu_ops ),
                            0,
                            nullptr,
                            powerOk,
                            answer<2, pl_psu, float>,
                            answer<30, pl_psu, float>,
                            answer<230, pl_psu, float>,
                            answer<12, pl_psu, float>,
                            answer<400, pl_psu, float>,
                            answer<360, pl_psu, float> };
// Built when the table ended with the output current: the host must not look behind its size.
const pl_psu_ops shortPsuOps = { offsetof( pl_psu_ops, get_input_voltage ),
                                 0,
                                 nullptr,
                                 powerOk,
                                 answer<2, pl_psu, float>,
                                 answer<30, pl_psu, float>,
                                 answer<230, pl_psu, float>,
                                 answer<12, pl_psu, float>,
                                 answer<400, pl_psu, float>,
                                 answer<360, pl_psu, float> };
const pl_gpio_ops gpioOps = { sizeof( pl_gpio_ops ), 0, setLine, clearLine,
                              answer<1, pl_gpio, unsigned> };
const pl_smbus_ops smbusOps = {};
const pl_system_ops systemOps = {
    sizeof( pl_system_ops ), 0, nullptr, nullptr, reloadCause, nullptr
};

pl_xcvr_ops sfpOps() {
    pl_xcvr_ops ops = {};
    ops.size = sizeof( ops );
    ops.type = PL_XCVR_SFP;
    ops.u.sfp = { sizeof( pl_sfp_ops ), cagePresence, polledSignal,
                  polledSignal,         polledSignal, setTxDisable };
    return ops;
}

pl_xcvr_ops qsfpOps() {
    pl_xcvr_ops ops = {};
    ops.size = sizeof( ops );
    ops.type = PL_XCVR_QSFP;
    ops.u.qsfp = { sizeof( pl_qsfp_ops ), cagePresence, polledSignal, nullptr,
                   polledSignal,          nullptr,      polledSignal, setReset,
                   polledSignal };
    return ops;
}

template <class Record, class Ops>
Record *add( const char *arguments, const Ops &ops ) {
    pl_trace( 0, "parsing devArgs = %s", arguments );
    if ( strstr( arguments, "refuse" ) ) {
        pl_trace( 0, "driver %s not found", "LM57" );
        return nullptr;
    }
    if ( strstr( arguments, "not-implemented" ) ) {
        throw std::runtime_error( "Not implemented newFan" );
    }
    if ( strstr( arguments, "bad-number" ) ) {
        static_cast<void>( std::stoi( "x" ) );
    }
    if ( strstr( arguments, "assert-on-add" ) ) {
        assert( arguments == nullptr && "json.HasMember( \"did\" )" );
    }
    return &( new Device<Record>{ { 0, &ops }, arguments } )->record;
}

pl_status init( const char *name ) {
    pl_trace( 0, "%s", name );
    const char *status = getenv( "FAKE_INIT_STATUS" );
    if ( status && strcmp( status, "assert" ) == 0 ) {
        assert( status == nullptr && "json.IsArray()" );
    }
    return status ? atoi( status ) : PL_STATUS_OK;
}

} // namespace

#define FAKE_INIT( class )                                                                         \
    extern "C" pl_status pl_##class##_init( const char * ) {                                       \
        return init( "pl_" #class "_init" );                                                       \
    }
FAKE_INIT( slot )
FAKE_INIT( led )
FAKE_INIT( temp_sensor )
FAKE_INIT( fan )
FAKE_INIT( xcvr )
FAKE_INIT( psu )
FAKE_INIT( gpio )
FAKE_INIT( smbus )
FAKE_INIT( system )

extern "C" pl_slot *pl_slot_add( const char *arguments ) {
    return add<pl_slot>( arguments, slotOps );
}

extern "C" pl_led *pl_led_add( const char *arguments ) {
    return add<pl_led>( arguments, ledOps );
}

extern "C" pl_temp_sensor *pl_temp_sensor_add( const char *arguments, float alert,
                                               float critical ) {
    pl_trace( 1, "thresholds %.1f %.1f", static_cast<double>( alert ),
              static_cast<double>( critical ) );
    return add<pl_temp_sensor>( arguments, tempSensorOps );
}

extern "C" pl_fan *pl_fan_add( const char *arguments ) {
    return add<pl_fan>( arguments, strstr( arguments, "fixed-speed" ) ? fixedFanOps : fanOps );
}

extern "C" pl_xcvr *pl_xcvr_add( const char *arguments ) {
    static const pl_xcvr_ops sfp = sfpOps();
    static const pl_xcvr_ops qsfp = qsfpOps();
    if ( !pollTimer ) {
        pollTimer = pl_timer_add( poll, nullptr );
        pl_trace( 0, "setting polling interval to %ums", pollMilliseconds );
        pl_timer_set( pollTimer, pollMilliseconds );
    }
    return add<pl_xcvr>( arguments, strstr( arguments, "qsfp" ) ? qsfp : sfp );
}

extern "C" pl_psu *pl_psu_add( const char *arguments ) {
    return add<pl_psu>( arguments, strstr( arguments, "short-table" ) ? shortPsuOps : psuOps );
}

extern "C" pl_gpio *pl_gpio_add( const char *arguments ) {
    return add<pl_gpio>( arguments, gpioOps );
}

extern "C" pl_smbus *pl_smbus_add( const char *argumentsOrBus, unsigned address ) {
    pl_trace( 0, "smbus %s %u", argumentsOrBus, address );
    return add<pl_smbus>( argumentsOrBus, smbusOps );
}

extern "C" pl_system *pl_system_add( const char *arguments ) {
    return add<pl_system>( arguments, systemOps );
}
