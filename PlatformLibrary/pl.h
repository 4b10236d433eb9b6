/**
 * @file pl.h
 * @brief The contract between a platform daemon (the host) and a platform-driver library.
 *
 * Conventions, which hold for every entry point and callback below:
 *
 *  1. Initialise, then add. The host calls one pl_<class>_init() with the topology document before
 *     it adds any device. Every further init with the same text returns at once.
 *  2. Records belong to the library and live until the process ends. Nothing removes a device.
 *  3. Word 0 of a record is the host's own: the library neither sets nor reads it. The one
 *     exception is pl_system, whose word 0 starts at 0.
 *  4. Word 1 points to the constant operation table of the record's class, which opens with its own
 *     size in bytes. A null slot is an operation that the class does not have: do not call it.
 *     A host built against a longer table compares the size before it uses the later slots.
 *  5. A text that a callback hands out through a char ** was allocated with malloc() and is the
 *     host's: release it with free(). The same holds for Drivers::insertDriverArg().
 *  6. The device-arguments text given to pl_<class>_add() must outlive the device: drivers keep a
 *     pointer to it and read it again.
 *  7. One thread. Entry points, callbacks and timer callbacks run on the host's event loop; nothing
 *     in the library is locked and it starts no thread of its own.
 *  8. An output argument is written only when the call returns PL_STATUS_OK, unless its own line
 *     says otherwise.
 *  9. A document that breaks its schema, and a programming error, end the process through assert()
 *     with the text of the condition, in every build. A syntax error in a document does not.
 * 10. A missing driver operation leaves pl_<class>_add() as the exception NotImplementedException,
 *     an argument that is no number as std::invalid_argument or std::out_of_range. No memory is
 *     std::bad_alloc or a failed status (from an init always), and may end the process in a parser.
 * 11. The host's services are weak imports of the library, so that it loads without them; all but
 *     pl_fd_watcher_delete() are called unconditionally and must be there before the first init.
 */
#pragma once

#include <stdint.h>

#if defined( __GNUC__ )
#define PL_PRINTF( text, first ) __attribute__( ( format( printf, text, first ) ) )
#else
#define PL_PRINTF( text, first )
#endif

/* In C++ a setting that is none of the enumerators must be a value like any other: a driver answers
   it with PL_STATUS_INVALID. In C it is one anyway. */
#ifdef __cplusplus
#define PL_ENUM_BASE : unsigned int
extern "C" {
#else
#define PL_ENUM_BASE
#endif

/** Status of an entry point, a callback or a device operation. */
typedef int32_t pl_status;

#define PL_STATUS_OK 0            /**< success */
#define PL_STATUS_NOT_PRESENT 1   /**< the slot is empty, or what it holds is not known */
#define PL_STATUS_BAD_READING 2   /**< the device answered, and the value makes no sense */
#define PL_STATUS_INVALID 3       /**< bad argument, or topology text that does not parse */
#define PL_STATUS_IO_ERROR 4      /**< no server, a failed access, or a time limit */
#define PL_STATUS_NOT_SUPPORTED 5 /**< this platform does not have the operation */
#define PL_STATUS_FAILED 6        /**< the server reported a failure, or no tree could be built */

/** LED settings. Which of them a lamp can show is its driver's matter. */
typedef enum pl_led_status PL_ENUM_BASE {
    PL_LED_OFF = 0,
    PL_LED_GOOD = 1,
    PL_LED_WARNING = 2,
    PL_LED_BAD = 3,
    PL_LED_INACTIVE = 4,
    PL_LED_UNKNOWN = 5,
    PL_LED_BEACON = 6
} pl_led_status;

/* ------------------------------------------------------------------------------------ records */

typedef struct pl_slot_ops pl_slot_ops;
typedef struct pl_led_ops pl_led_ops;
typedef struct pl_temp_sensor_ops pl_temp_sensor_ops;
typedef struct pl_fan_ops pl_fan_ops;
typedef struct pl_xcvr_ops pl_xcvr_ops;
typedef struct pl_psu_ops pl_psu_ops;
typedef struct pl_gpio_ops pl_gpio_ops;
typedef struct pl_smbus_ops pl_smbus_ops;
typedef struct pl_system_ops pl_system_ops;

/** A place that holds a removable part: a fan tray, a power supply. */
typedef struct pl_slot {
    uint64_t host;          /**< the host's own word */
    const pl_slot_ops *ops; /**< never null */
} pl_slot;

/** One lamp. */
typedef struct pl_led {
    uint64_t host;
    const pl_led_ops *ops;
} pl_led;

/** One temperature sensor. */
typedef struct pl_temp_sensor {
    uint64_t host;
    const pl_temp_sensor_ops *ops;
} pl_temp_sensor;

/** One fan. */
typedef struct pl_fan {
    uint64_t host;
    const pl_fan_ops *ops;
} pl_fan;

/** One transceiver cage, SFP or QSFP: pl_xcvr_ops::type tells which. */
typedef struct pl_xcvr {
    uint64_t host;
    const pl_xcvr_ops *ops;
} pl_xcvr;

/** One power supply. */
typedef struct pl_psu {
    uint64_t host;
    const pl_psu_ops *ops;
} pl_psu;

/** One general-purpose line. */
typedef struct pl_gpio {
    uint64_t host;
    const pl_gpio_ops *ops;
} pl_gpio;

/** Raw SMBus access to one chip. */
typedef struct pl_smbus {
    uint64_t host;
    const pl_smbus_ops *ops;
} pl_smbus;

/** The switch as a whole. */
typedef struct pl_system {
    uint64_t host;
    const pl_system_ops *ops;
} pl_system;

/* --------------------------------------------------------------------------- operation tables */

/** An operation that the class does not have. Always null. */
typedef void ( *pl_no_operation )( void );

/** 16 bytes. */
struct pl_slot_ops {
    uint32_t size; /**< of this table, in bytes */
    uint32_t reserved;
    /**
     * Is the part there, and what is it? On PL_STATUS_OK *fdl is the description text of the part
     * (its field-replaceable-unit identity: model, serial number and the like), malloc()ed, the
     * host's to free(). PL_STATUS_NOT_PRESENT for an empty slot or an unknown part.
     */
    pl_status ( *getPresence )( pl_slot *slot, char **fdl );
};

/** 16 bytes. */
struct pl_led_ops {
    uint32_t size;
    uint32_t reserved;
    /** Shows a setting. PL_STATUS_INVALID for one that this lamp does not know. */
    pl_status ( *setLightSetting )( pl_led *led, pl_led_status setting );
};

/** 24 bytes. */
struct pl_temp_sensor_ops {
    uint32_t size;
    uint32_t reserved;
    pl_no_operation unused;
    /** Reads the temperature in degrees Celsius. */
    pl_status ( *getTemperature )( pl_temp_sensor *sensor, float *celsius );
};

/** 32 bytes. */
struct pl_fan_ops {
    uint32_t size;
    uint32_t reserved;
    /** Text for a support engineer, malloc()ed; untouched by a fan that has none (start it null).
     */
    pl_status ( *debugInfo )( const pl_fan *fan, char **text );
    /** Reads the speed in revolutions per minute. */
    pl_status ( *getRpm )( pl_fan *fan, int *rpm );
    /** Asks for a speed in revolutions per minute. */
    pl_status ( *setRpm )( pl_fan *fan, int rpm );
};

/** pl_xcvr_ops::type */
enum { PL_XCVR_SFP = 0, PL_XCVR_QSFP = 1 };

/** Signals of an SFP cage, each 0 or 1. getPresence is a status: 0 present, 1 absent. */
typedef struct pl_sfp_ops {
    uint64_t size; /**< of this sub-table, 48 bytes */
    int ( *getPresence )( pl_xcvr *xcvr );
    pl_status ( *getTxFault )( pl_xcvr *xcvr, int *fault );
    pl_status ( *getRxLos )( pl_xcvr *xcvr, int *lossOfSignal );
    pl_status ( *getTxDisable )( pl_xcvr *xcvr, int *disabled );
    pl_status ( *setTxDisable )( pl_xcvr *xcvr, int disabled );
} pl_sfp_ops;

/** Signals of a QSFP cage, each 0 or 1. getPresence is a status: 0 present, 1 absent. */
typedef struct pl_qsfp_ops {
    uint64_t size; /**< of this sub-table, 72 bytes */
    int ( *getPresence )( pl_xcvr *xcvr );
    pl_status ( *getModSel )( pl_xcvr *xcvr, int *selected );
    pl_status ( *setModSel )( pl_xcvr *xcvr, int selected );
    pl_status ( *getLpMode )( pl_xcvr *xcvr, int *lowPower );
    pl_status ( *setLpMode )( pl_xcvr *xcvr, int lowPower );
    pl_status ( *getReset )( pl_xcvr *xcvr, int *inReset );
    pl_status ( *setReset )( pl_xcvr *xcvr, int inReset );
    pl_status ( *getInterrupt )( pl_xcvr *xcvr, int *asserted );
} pl_qsfp_ops;

/** 80 bytes for either kind; what an SFP leaves over is zero. */
struct pl_xcvr_ops {
    uint32_t size;
    uint32_t type; /**< PL_XCVR_SFP or PL_XCVR_QSFP: which member of the union holds */
    union {
        pl_sfp_ops sfp;
        pl_qsfp_ops qsfp;
    } u;
};

/** 72 bytes. */
struct pl_psu_ops {
    uint32_t size;
    uint32_t reserved;
    pl_no_operation unused;
    pl_status ( *get_power_ok )( pl_psu *psu, int *good );            /**< 0 or 1 */
    pl_status ( *get_input_current )( pl_psu *psu, float *amperes );  /**< PMBus READ_IIN */
    pl_status ( *get_output_current )( pl_psu *psu, float *amperes ); /**< PMBus READ_IOUT */
    pl_status ( *get_input_voltage )( pl_psu *psu, float *volts );    /**< PMBus READ_VIN */
    pl_status ( *get_output_voltage )( pl_psu *psu, float *volts );   /**< PMBus READ_VOUT */
    pl_status ( *get_input_power )( pl_psu *psu, float *watts );      /**< PMBus READ_PIN */
    pl_status ( *get_output_power )( pl_psu *psu, float *watts );     /**< PMBus READ_POUT */
};

/** 32 bytes. */
struct pl_gpio_ops {
    uint32_t size;
    uint32_t reserved;
    pl_status ( *bitSet )( pl_gpio *gpio );
    pl_status ( *bitClear )( pl_gpio *gpio );
    pl_status ( *bitRead )( pl_gpio *gpio, unsigned int *value ); /**< 0 or 1 */
};

/** 112 bytes. Command (register) byte first, then data, as the SMBus transfer types have it. */
struct pl_smbus_ops {
    uint32_t size;
    uint32_t reserved;
    pl_status ( *quickCommand )( pl_smbus *smbus, int readWrite );
    pl_status ( *receiveByte )( pl_smbus *smbus, unsigned char *value );
    pl_status ( *sendByte )( pl_smbus *smbus, unsigned char value );
    pl_status ( *readByte )( pl_smbus *smbus, unsigned char command, unsigned char *value );
    pl_status ( *writeByte )( pl_smbus *smbus, unsigned char command, unsigned char value );
    pl_status ( *readWord )( pl_smbus *smbus, unsigned char command, unsigned short *value );
    pl_status ( *writeWord )( pl_smbus *smbus, unsigned char command, unsigned short value );
    /** The device gives the count. The buffer must hold the largest block (255 bytes); *length is
        written also on failure, as 0. */
    pl_status ( *blockRead )( pl_smbus *smbus, unsigned char command, unsigned char *data,
                              unsigned int *length );
    pl_status ( *blockWrite )( pl_smbus *smbus, unsigned char command, const unsigned char *data,
                               unsigned int length );
    /** PL_STATUS_IO_ERROR unless exactly length bytes came. */
    pl_status ( *i2cBlockRead )( pl_smbus *smbus, unsigned char command, unsigned char *data,
                                 unsigned int length );
    pl_status ( *i2cBlockWrite )( pl_smbus *smbus, unsigned char command, const unsigned char *data,
                                  unsigned int length );
    pl_status ( *processCall )( pl_smbus *smbus, unsigned char command, unsigned short value,
                                unsigned short *result );
    pl_status ( *blockProcessCall )( pl_smbus *smbus, unsigned char command,
                                     const unsigned char *data, unsigned char length,
                                     unsigned char *result, unsigned char *resultLength );
};

/** 40 bytes. */
struct pl_system_ops {
    uint32_t size;
    uint32_t reserved;
    pl_no_operation unused0;
    pl_status ( *powercycle )( pl_system *system );
    /** cause holds 100 characters, detail 500; *when is a time in seconds since the epoch. */
    pl_status ( *get_reload_cause )( pl_system *system, char *cause, long *when, char *detail );
    pl_no_operation unused1;
};

/* ------------------------------------------------------------ what the library offers the host */

/**
 * @name Initialisation
 * Each connects to the SMBus server once per process (30 attempts, a second apart) and loads the
 * topology document unless this very text is loaded already.
 * @return PL_STATUS_OK; PL_STATUS_INVALID when the text does not parse (the topology before it
 *         stays); PL_STATUS_IO_ERROR without a server; PL_STATUS_FAILED without a tree.
 */
/** @{ */
pl_status pl_slot_init( const char *topology );
pl_status pl_led_init( const char *topology );
pl_status pl_temp_sensor_init( const char *topology );
pl_status pl_fan_init( const char *topology );
pl_status pl_xcvr_init( const char *topology );
pl_status pl_psu_init( const char *topology );
pl_status pl_gpio_init( const char *topology );
pl_status pl_smbus_init( const char *topology );
pl_status pl_system_init( const char *topology );
/** @} */

/**
 * @name Adding devices
 * Each takes a device-arguments text (JSON), which must outlive the device, and returns a record,
 * or null after a trace that says what failed. A second call with the same did reuses the hardware
 * device and returns a further record.
 */
/** @{ */
pl_slot *pl_slot_add( const char *arguments );
pl_led *pl_led_add( const char *arguments );
/** Thresholds in degrees Celsius; a sensor chip has them written to its limit registers. */
pl_temp_sensor *pl_temp_sensor_add( const char *arguments, float alertThreshold,
                                    float criticalThreshold );
pl_fan *pl_fan_add( const char *arguments );
pl_xcvr *pl_xcvr_add( const char *arguments );
pl_psu *pl_psu_add( const char *arguments );
pl_gpio *pl_gpio_add( const char *arguments );
/** A device-arguments text, or the label of a bus, on which address names the chip. */
pl_smbus *pl_smbus_add( const char *argumentsOrBus, unsigned int address );
pl_system *pl_system_add( const char *arguments );
/** @} */

/* ------------------------------------------------------------ what the host offers the library */

typedef struct pl_timer pl_timer;
typedef struct pl_fd_watcher pl_fd_watcher;

/** Writes one trace line. Level 0 is the most important, 7 the most talkative. */
void pl_trace( int level, const char *format, ... ) PL_PRINTF( 2, 3 );
/** Makes a timer that is not armed yet. Null on failure. */
pl_timer *pl_timer_add( void ( *callback )( void *context ), void *context );
/** Arms the timer to fire once, period milliseconds from now. 0 on success. */
int pl_timer_set( pl_timer *timer, int period );
void pl_timer_delete( pl_timer *timer );
/** Optional: forgets a descriptor that the client of the SMBus server had watched. */
void pl_fd_watcher_delete( pl_fd_watcher *watcher );

#ifdef __cplusplus
}
#endif
