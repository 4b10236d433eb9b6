// PMBus power supply. Words travel with the low byte first, as read16() and write16() have them.
//
//     LINEAR11        15 .. 11 exponent   10 .. 0 mantissa      both two's complement
//     VOUT_MODE       7 .. 5 mode         4 .. 0 exponent, when the mode is linear
//     READ_VOUT       15 .. 0 mantissa, when VOUT_MODE is linear
//     STATUS_WORD     11 POWER_GOOD#      6 OFF
//     STATUS_FANS_1_2 7 fan 1 fault       6 fan 2 fault
#include "KavraGeneric/Drivers/Pmbus.h"

#include "KavraGeneric/Assert.h"
#include "KavraGeneric/Drivers/Drivers.h"
#include "KavraGeneric/Drivers/Helpers.h"
#include "KavraGeneric/Ham/Ham.h"
#include "KavraGeneric/HostServices.h"

#include <algorithm>
#include <array>
#include <cmath>

namespace Drivers {

namespace {

enum Command : uint8_t {
    PAGE = 0x00,
    CLEAR_FAULTS = 0x03,
    WRITE_PROTECT = 0x10,
    VOUT_MODE = 0x20,
    FAN_COMMAND_1 = 0x3B,
    FAN_COMMAND_2 = 0x3C,
    STATUS_WORD = 0x79,
    STATUS_FANS_1_2 = 0x81,
    READ_VIN = 0x88,
    READ_IIN = 0x89,
    READ_VOUT = 0x8B,
    READ_IOUT = 0x8C,
    READ_TEMPERATURE_1 = 0x8D,
    READ_TEMPERATURE_2 = 0x8E,
    READ_TEMPERATURE_3 = 0x8F,
    READ_FAN_SPEED_1 = 0x90,
    READ_FAN_SPEED_2 = 0x91,
    READ_POUT = 0x96,
    READ_PIN = 0x97,
    MFR_MODEL = 0x9A,
    MFR_SERIAL = 0x9E,
};

constexpr unsigned mantissaBits = 11;
constexpr unsigned exponentBits = 5;
constexpr unsigned wordBits = 16;

constexpr unsigned voutModeShift = 5;
constexpr unsigned voutModeLinear = 0;
constexpr uint8_t voutModeLinear11 = 0xFF; // not in the standard; some supplies do it

constexpr unsigned powerGoodNegatedBit = 11;
constexpr unsigned offBit = 6;

struct FanRegisters {
    uint8_t read;
    uint8_t command;
    uint8_t fault;
};
constexpr FanRegisters fanRegisters[] = {
    { READ_FAN_SPEED_1, FAN_COMMAND_1, 0x80 },
    { READ_FAN_SPEED_2, FAN_COMMAND_2, 0x40 },
};

constexpr std::array<uint8_t, 3> temperatureCommands = {
    READ_TEMPERATURE_1,
    READ_TEMPERATURE_2,
    READ_TEMPERATURE_3,
};

constexpr uint32_t linear11( int mantissa, int exponent ) {
    return ( static_cast<uint32_t>( exponent ) << mantissaBits |
             ( static_cast<uint32_t>( mantissa ) & ( ( 1U << mantissaBits ) - 1 ) ) ) &
           0xFFFFU;
}

} // namespace

// A 550 W supply at about half its load. In simulation both results of a batch come from the
// register that was queued last: the first byte of READ_VOUT stands in for VOUT_MODE. PAGE is where
// the first write lands, because a write goes to the register that was read last, or to 0.
// clang-format off
Utils::ExpectedValues Pmbus::values = {
    { PAGE,               { 0, 1 } },
    { VOUT_MODE,          { 0x17, 1 } },                 // 2^-9 V
    { FAN_COMMAND_1,      { 45, 2 } },                   // %
    { FAN_COMMAND_2,      { 45, 2 } },
    { STATUS_WORD,        { 0, 2 } },
    { STATUS_FANS_1_2,    { 0, 1 } },
    { READ_VIN,           { linear11( 920, -2 ), 2 } },  // 230 V
    { READ_IIN,           { linear11( 160, -7 ), 2 } },  // 1.25 A
    { READ_VOUT,          { 0x17F0, 2 } },               // 11.97 V, and the mode 0x17
    { READ_IOUT,          { linear11( 352, -4 ), 2 } },  // 22 A
    { READ_TEMPERATURE_1, { linear11( 108, -2 ), 2 } },  // 27 °C
    { READ_TEMPERATURE_2, { linear11( 166, -2 ), 2 } },  // 41.5 °C
    { READ_TEMPERATURE_3, { linear11( 152, -2 ), 2 } },  // 38 °C
    { READ_FAN_SPEED_1,   { linear11( 563, 4 ), 2 } },   // 9008 rpm
    { READ_FAN_SPEED_2,   { linear11( 561, 4 ), 2 } },   // 8976 rpm
    { READ_POUT,          { linear11( 526, -1 ), 2 } },  // 263 W
    { READ_PIN,           { linear11( 572, -1 ), 2 } },  // 286 W
    { MFR_MODEL,          { "DPS550AB6A", 10 } },
    { MFR_SERIAL,         { "GTVD1615001656", 14 } },
};
// clang-format on

static int signExtended( unsigned value, unsigned bits ) {
    const unsigned sign = 1U << ( bits - 1 );
    const unsigned magnitude = value & ( sign - 1 );
    return static_cast<int>( magnitude ) - static_cast<int>( value & sign );
}

float Pmbus::linearToReal( uint16_t raw, uint8_t exponent, uint8_t bitsOfMantissa,
                           uint8_t bitsOfExponent ) {
    return static_cast<float>( signExtended( raw, bitsOfMantissa ) ) *
           powf( 2, static_cast<float>( signExtended( exponent, bitsOfExponent ) ) );
}

static float linear11ToReal( uint16_t raw ) {
    return Pmbus::linearToReal( raw, static_cast<uint8_t>( raw >> mantissaBits ), mantissaBits,
                                exponentBits );
}

pl_status Pmbus::pmbus_read_linear( uint8_t command, float *value ) {
    uint16_t raw = 0;
    const pl_status status = access().read16( command, &raw );
    if ( status == PL_STATUS_OK ) {
        *value = linear11ToReal( raw );
    }
    return status;
}

pl_status Pmbus::get_input_current( float *amperes ) {
    return pmbus_read_linear( READ_IIN, amperes );
}

pl_status Pmbus::get_output_current( float *amperes ) {
    return pmbus_read_linear( READ_IOUT, amperes );
}

pl_status Pmbus::get_input_voltage( float *volts ) {
    return pmbus_read_linear( READ_VIN, volts );
}

pl_status Pmbus::get_input_power( float *watts ) {
    return pmbus_read_linear( READ_PIN, watts );
}

pl_status Pmbus::get_output_power( float *watts ) {
    return pmbus_read_linear( READ_POUT, watts );
}

// The standard's mantissa is unsigned. Here a set bit 15 is a negative voltage.
pl_status Pmbus::get_output_voltage( float *volts ) {
    access().prepare();
    const Ham::ResponseId modeId = access().addRead8( VOUT_MODE );
    const Ham::ResponseId voutId = access().addRead16( READ_VOUT );
    const pl_status status = access().execute();
    if ( status != PL_STATUS_OK ) {
        return status;
    }
    const uint8_t mode = access().get8( modeId );
    const uint16_t raw = access().get16( voutId );
    if ( mode >> voutModeShift == voutModeLinear ) {
        const uint8_t exponent = voutExponent_ < noExponent ? voutExponent_ : mode;
        *volts = linearToReal( raw, exponent, wordBits, exponentBits );
    } else if ( mode == voutModeLinear11 ) {
        *volts = linear11ToReal( raw );
    }
    return PL_STATUS_OK;
}

pl_status Pmbus::getTemperature( uint8_t command, float *celsius ) {
    const pl_status status = pmbus_read_linear( command, celsius );
    if ( *celsius < 0 ) {
        *celsius = 0;
    }
    return status;
}

pl_status Pmbus::clearFaults() {
    pl_trace( 4, "Ensure WRITE_PROTECT is disabled and issue CLEAR_FAULTS command" );
    access().prepare();
    access().addWrite8( WRITE_PROTECT, 0, false );
    access().addSendByte( CLEAR_FAULTS, false );
    return access().execute();
}

pl_status Pmbus::get_power_ok( int *good ) {
    pl_trace( 4, "%s", "pl_status Drivers::Pmbus::get_power_ok(int*)" );
    if ( const pl_status cleared = clearFaults(); cleared != PL_STATUS_OK ) {
        pl_trace( 3, "CLEAR_FAULTS PMBus command failed: %d", cleared );
    }
    if ( powerOkGpio_ ) {
        pl_trace( 4, "Checking power OK using powerOkGpio_" );
        unsigned bit = 0;
        const pl_status status = powerOkGpio_->bitRead( &bit );
        if ( status == PL_STATUS_OK ) {
            *good = static_cast<int>( powerOkActiveLow_ ? 1 - bit : bit );
        }
        return status;
    }
    pl_trace( 4, "Checking power OK using STATUS_WORD_REG" );
    uint16_t statusWord = 0;
    const pl_status status = access().read16( STATUS_WORD, &statusWord );
    if ( status != PL_STATUS_OK ) {
        return status;
    }
    const int powerBad = statusWord >> powerGoodNegatedBit & 1;
    const int off = statusWord >> offBit & 1;
    pl_trace( 4, "statusWord: 0x%x, powerBad: 0b%d, off: 0b%d", statusWord, powerBad, off );
    if ( powerBad && !off ) {
        return PL_STATUS_BAD_READING;
    }
    *good = !powerBad;
    return PL_STATUS_OK;
}

pl_status Pmbus::getFanRpm( const Fan &fan, int *rpm ) {
    uint8_t fanStatus = 0;
    pl_status status = access().read8( STATUS_FANS_1_2, &fanStatus );
    if ( status != PL_STATUS_OK ) {
        return status;
    }
    if ( fanStatus & fan.faultMask() ) {
        return PL_STATUS_BAD_READING;
    }
    float speed = 0;
    status = pmbus_read_linear( fan.readReg(), &speed );
    if ( status != PL_STATUS_OK ) {
        return status;
    }
    *rpm = static_cast<int>( speed );
    if ( *rpm < 0 ) {
        pl_trace( 0, "Pmbus::Fan%d Invalid RPM reading: %d", fan.fanId(), *rpm );
        return PL_STATUS_IO_ERROR;
    }
    return PL_STATUS_OK;
}

// 64 bits, so that no speed overflows. The duty is capped as an unsigned 16-bit number.
pl_status Pmbus::setFanRpm( const Fan &fan, int rpm ) {
    assert( fan.maxFanRpm() != 0 );
    const auto duty = static_cast<int>( int64_t{ rpm } * 100 / fan.maxFanRpm() );
    pl_trace( 6, "Setting fan %d duty cycle to %d", fan.fanId(), duty );
    const auto value = std::min<uint16_t>( static_cast<uint16_t>( duty ), 100 );
    const pl_status status = access().write16( fan.cmdReg(), value, fan.pec() );
    if ( status != PL_STATUS_OK ) {
        pl_trace( 0, "Failed to set fan%d duty cycle to %d", fan.fanId(), duty );
    }
    return status;
}

Utils::ExpectedValues &Pmbus::expectedValues() {
    return values;
}

Pmbus::Psu::Psu( Pmbus *device ) : device_( device ) {}

pl_status Pmbus::Psu::get_power_ok( int *good ) {
    return device_->get_power_ok( good );
}

pl_status Pmbus::Psu::get_input_current( float *amperes ) {
    return device_->get_input_current( amperes );
}

pl_status Pmbus::Psu::get_output_current( float *amperes ) {
    return device_->get_output_current( amperes );
}

pl_status Pmbus::Psu::get_input_voltage( float *volts ) {
    return device_->get_input_voltage( volts );
}

pl_status Pmbus::Psu::get_output_voltage( float *volts ) {
    return device_->get_output_voltage( volts );
}

pl_status Pmbus::Psu::get_input_power( float *watts ) {
    return device_->get_input_power( watts );
}

pl_status Pmbus::Psu::get_output_power( float *watts ) {
    return device_->get_output_power( watts );
}

Pmbus::Fan::Fan( Pmbus *device, uint8_t fanId, int maxFanRpm, bool pec )
    : device_( device ), fanId_( fanId ), maxFanRpm_( maxFanRpm ),
      readReg_( fanRegisters[fanId].read ), cmdReg_( fanRegisters[fanId].command ),
      faultMask_( fanRegisters[fanId].fault ), pec_( pec ) {}

pl_status Pmbus::Fan::getRpm( int *rpm ) {
    return device_->getFanRpm( *this, rpm );
}

pl_status Pmbus::Fan::setRpm( int rpm ) {
    return device_->setFanRpm( *this, rpm );
}

Pmbus::TempSensor::TempSensor( Pmbus *device, uint8_t id, uint8_t reg )
    : device_( device ), id_( id ), reg_( reg ) {}

pl_status Pmbus::TempSensor::getTemperature( float *celsius ) {
    return device_->getTemperature( reg_, celsius );
}

// An argument that is there is true exactly when it says "true".
static bool flag( const DriverArgs &args, const char *key, bool absent ) {
    const auto it = args.driverArgs.find( key );
    return it == args.driverArgs.end() ? absent : it->second == "true";
}

Component::LogicalDevice::Psu *Pmbus::newPsu( const DriverArgs & ) {
    pl_trace( 5, "Creating Pmbus Psu Device" );
    return new Psu( this );
}

Component::LogicalDevice::Fan *Pmbus::newFan( const DriverArgs &args ) {
    pl_trace( 5, "Creating Pmbus Fan Device" );
    assert( args.driverArgs.find( "fanId" ) != args.driverArgs.end() );
    const int fanId = std::stoi( args.driverArgs.at( "fanId" ) );
    assert( fanId == 1 || fanId == 2 );
    assert( args.driverArgs.find( "maxFanRpm" ) != args.driverArgs.end() );
    const int maxFanRpm = std::stoi( args.driverArgs.at( "maxFanRpm" ) );
    return new Fan( this, static_cast<uint8_t>( fanId - 1 ), maxFanRpm,
                    flag( args, "pec", false ) );
}

Component::LogicalDevice::TempSensor *Pmbus::newTempSensor( const DriverArgs &args ) {
    assert( args.driverArgs.find( "sensorId" ) != args.driverArgs.end() );
    const int sensorId = std::stoi( args.driverArgs.at( "sensorId" ) );
    const auto it = args.driverArgs.find( "tempSensor" );
    const int tempSensor = it == args.driverArgs.end() ? sensorId : std::stoi( it->second );
    pl_trace( 5, "Creating Pmbus TempSensor device %d using sensor %d", sensorId, tempSensor );
    const uint8_t command = temperatureCommands.at( static_cast<size_t>( tempSensor ) - 1 );
    return new TempSensor( this, static_cast<uint8_t>( sensorId ), command );
}

Pmbus::Pmbus( uint8_t exponent, std::unique_ptr<Component::LogicalDevice::Gpio> powerOkGpio,
              bool activeLow )
    : voutExponent_( exponent ), powerOkGpio_( std::move( powerOkGpio ) ),
      powerOkActiveLow_( activeLow ) {}

Component::DeviceBase *Pmbus::create( const DriverArgs &args, Ham::Ham * ) {
    pl_trace( 0, "Creating Pmbus Device" );
    uint8_t exponent = noExponent;
    if ( const auto it = args.driverArgs.find( "voutExponent" ); it != args.driverArgs.end() ) {
        exponent = static_cast<uint8_t>( std::stoi( it->second ) );
    }
    std::unique_ptr<Component::LogicalDevice::Gpio> gpio;
    if ( const auto it = args.driverArgs.find( "gpioDevice" ); it != args.driverArgs.end() ) {
        const int reg = std::stoi( args.driverArgs.at( "powerOkReg" ) );
        const int bit = std::stoi( args.driverArgs.at( "powerOkBit" ) );
        gpio.reset( getRegGpioForDevice( it->second.c_str(), static_cast<uint32_t>( reg ),
                                         static_cast<uint32_t>( bit ) ) );
    }
    return new Pmbus( exponent, std::move( gpio ), flag( args, "powerOkActiveLow", true ) );
}

} // namespace Drivers
