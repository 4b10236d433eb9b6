// Everything that hosts do with the drivers here, the library's half beside what is expected of it:
// one table, and longer than other files because of it.
#include "tests/property/Actions.h"

#include "KavraGeneric/Components/DeviceBase.h"
#include "KavraGeneric/Components/HardwareDevice.h"
#include "KavraGeneric/Drivers/Drivers.h"
#include "tests/property/Formats.h"
#include "tests/property/Property.h"
#include "tests/property/RawBatch.h"

#include <algorithm>
#include <iterator>
#include <string_view>

namespace Property {

namespace {

constexpr int alertParts = 155 * 128; // of 1/256 degrees
constexpr int criticalParts = -21 * 64;

std::string ok( const std::string &value ) {
    return "0 " + value;
}
std::string ok( double value ) {
    return ok( std::to_string( value ) );
}
template <typename Value>
std::string result( pl_status status, Value value ) {
    return status == PL_STATUS_OK ? ok( std::to_string( value ) ) : std::to_string( status );
}
std::string result( pl_status status, float value ) {
    return result( status, static_cast<double>( value ) );
}

// What adding a device hands out, and what it does on the bus.
struct Adding {
    std::string_view driver;
    Records ( *library )( const char *arguments );
    void ( *expected )( Twin &twin, const BoardDevice &device );
};

float degrees( int parts ) {
    return static_cast<float>( parts ) / 256;
}

void addQuietly( Twin &, const BoardDevice & ) {}

const Adding addings[] = {
    { "SmbusProxyDriver",
      []( const char *arguments ) { return Records{ .smbus = pl_smbus_add( arguments, 0 ) }; },
      addQuietly },
    { "Dummy",
      []( const char *arguments ) {
          Drivers::DriverArgs args;
          auto *device = Component::DeviceBase::create( arguments, args );
          return Records{ .raw = dynamic_cast<Component::HardwareDevice *>( device ) };
      },
      addQuietly },
    { "LM75",
      []( const char *arguments ) {
          return Records{ .sensor = pl_temp_sensor_add( arguments, degrees( alertParts ),
                                                        degrees( criticalParts ) ) };
      },
      []( Twin &twin, const BoardDevice &device ) {
          twin.write16( device, 2, limitWord( alertParts ) );
          twin.write16( device, 3, limitWord( criticalParts ) );
      } },
    { "GpioDriver",
      []( const char *arguments ) { return Records{ .gpio = pl_gpio_add( arguments ) }; },
      addQuietly },
    { "Pmbus",
      []( const char *arguments ) {
          return Records{ .sensor = pl_temp_sensor_add( arguments, 70, 80 ),
                          .psu = pl_psu_add( arguments ),
                          .fan = pl_fan_add( arguments ) };
      },
      addQuietly },
    { "VundaTFanCpld",
      []( const char *arguments ) { return Records{ .fan = pl_fan_add( arguments ) }; },
      []( Twin &twin, const BoardDevice &device ) {
          // The version's read loses its place to the write, which is sent a second time.
          const Deed start = writeDeed( 0x33, std::string( 1, '\0' ) );
          twin.batch( device, { start } );
          twin.batch( device, { start }, 2 );
      } },
    { "VundaTSystemLedCPLD",
      []( const char *arguments ) { return Records{ .led = pl_led_add( arguments ) }; },
      addQuietly },
};

struct Action {
    std::string_view driver;
    std::string ( *library )( const Records &records, const Step &step );
    std::string ( *expected )( Twin &twin, const BoardDevice &device, const Step &step );
};

uint8_t commandOf( const Step &step ) {
    return static_cast<uint8_t>( step.a );
}
uint16_t dataOf( const Step &step ) {
    return static_cast<uint16_t>( step.b );
}
const unsigned char *bytesOf( const Step &step ) {
    return reinterpret_cast<const unsigned char *>( step.bytes.data() );
}
unsigned sizeOf( const Step &step ) {
    return static_cast<unsigned>( step.bytes.size() );
}
std::string blockText( pl_status status, const unsigned char *data, unsigned size ) {
    return status == PL_STATUS_OK ? ok( hexOf( { reinterpret_cast<const char *>( data ), size } ) )
                                  : std::to_string( status );
}

Deed blockDeed( Smbus::RequestType type, const Step &step, const std::string &data = {} ) {
    const auto length = static_cast<uint32_t>( data.size() );
    return { { type, commandOf( step ), length, data, false }, false };
}

template <pl_status ( *pl_psu_ops::*reading )( pl_psu *, float * )>
std::string readSupply( const Records &records, const Step & ) {
    float value = 0;
    const pl_status status = ( records.psu->ops->*reading )( records.psu, &value );
    return result( status, value );
}
template <uint32_t command>
std::string expectLinear11( Twin &twin, const BoardDevice &device, const Step & ) {
    return ok( fromLinear( linear11( twin.read16( device, command ) ) ) );
}

std::string expectOutputVoltage( Twin &twin, const BoardDevice &device, const Step & ) {
    const auto answers = twin.batch( device, { readDeed( 0x20, 1 ), readDeed( 0x8B, 2 ) } );
    const uint8_t mode = byteOf( answers[0] );
    const uint16_t word = wordOf( answers[1] );
    if ( mode < 32 ) {
        return ok( fromLinear( linear( signedBits( word, 16 ), signedBits( mode, 5 ) ) ) );
    }
    return ok( mode == 0xFF ? fromLinear( linear11( word ) ) : 0.0 );
}

std::string expectPowerOk( Twin &twin, const BoardDevice &device, const Step & ) {
    twin.batch( device, { writeDeed( 0x10, std::string( 1, '\0' ) ), sendDeed( 0x03 ) } );
    const uint16_t word = twin.read16( device, 0x79 );
    const bool bad = ( word & 0x0800 ) != 0;
    const bool off = ( word & 0x0040 ) != 0;
    return bad && !off ? "2" : ok( bad ? "0" : "1" );
}

std::string expectSupplyFan( Twin &twin, const BoardDevice &device, const Step & ) {
    if ( ( twin.read8( device, 0x81 ) & 0x40 ) != 0 ) {
        return "2";
    }
    const int64_t rpm = linear11( twin.read16( device, 0x91 ) ) / 65536;
    return rpm < 0 ? "4" : ok( std::to_string( rpm ) );
}

std::string expectCpldFan( Twin &twin, const BoardDevice &device, const Step & ) {
    const auto answers = twin.batch( device, { readDeed( 0x13, 1 ), readDeed( 0x23, 1 ) } );
    const int front = byteOf( answers[0] );
    const int rear = byteOf( answers[1] );
    return front == 0 || rear == 0 ? "2" : ok( std::to_string( ( front + rear ) / 2 * 100 ) );
}

std::string readFan( const Records &records, const Step & ) {
    int rpm = 0;
    const pl_status status = records.fan->ops->getRpm( records.fan, &rpm );
    return result( status, rpm );
}
int speedOf( const Step &step ) {
    return static_cast<int>( step.a % 30'000 );
}
std::string setFan( const Records &records, const Step &step ) {
    return std::to_string( records.fan->ops->setRpm( records.fan, speedOf( step ) ) );
}
std::string readSensor( const Records &records, const Step & ) {
    float celsius = 0;
    const pl_status status = records.sensor->ops->getTemperature( records.sensor, &celsius );
    return result( status, celsius );
}

std::string expectBit( Twin &twin, const BoardDevice &device, bool bit ) {
    const unsigned mask = 1U << gpioBit;
    const unsigned content = twin.read8( device, gpioRegister );
    twin.write8( device, gpioRegister, bit ? content | mask : content & ~mask );
    return "0";
}

std::string expectLamp( Twin &twin, const BoardDevice &device, const Step &step ) {
    constexpr uint8_t bytes[] = { 0x83, 0x82, 0x80, 0x81, 0, 0x83 };
    const uint32_t setting = step.a % std::size( bytes );
    if ( setting == PL_LED_INACTIVE ) {
        return "3";
    }
    twin.write8( device, lampRegister, bytes[setting] );
    return "0";
}

// clang-format off
const Action actions[] = {
    { "Dummy",
      []( const Records &records, const Step &step ) {
          return performRaw( *records.raw->ham(), step.batch );
      },
      []( Twin &twin, const BoardDevice &device, const Step &step ) {
          return step.refused ? expectRefusedRaw( twin, device, step.batch, *step.refused )
                              : expectRaw( twin, device, step.batch );
      } },
    { "SmbusProxyDriver",
      []( const Records &records, const Step & ) {
          unsigned char value = 0;
          const pl_status status = records.smbus->ops->receiveByte( records.smbus, &value );
          return result( status, value );
      },
      []( Twin &twin, const BoardDevice &device, const Step & ) {
          return ok( std::to_string(
              byteOf( twin.batch( device, { readDeed( 0, 0 ) } ).at( 0 ) ) ) );
      } },
    { "SmbusProxyDriver",
      []( const Records &records, const Step &step ) {
          return std::to_string( records.smbus->ops->sendByte( records.smbus, commandOf( step ) ) );
      },
      []( Twin &twin, const BoardDevice &device, const Step &step ) {
          twin.batch( device, { sendDeed( commandOf( step ) ) } );
          return std::string( "0" );
      } },
    { "SmbusProxyDriver",
      []( const Records &records, const Step &step ) {
          unsigned char value = 0;
          const pl_status status =
              records.smbus->ops->readByte( records.smbus, commandOf( step ), &value );
          return result( status, value );
      },
      []( Twin &twin, const BoardDevice &device, const Step &step ) {
          return ok( std::to_string( twin.read8( device, commandOf( step ) ) ) );
      } },
    { "SmbusProxyDriver",
      []( const Records &records, const Step &step ) {
          return std::to_string( records.smbus->ops->writeByte(
              records.smbus, commandOf( step ), static_cast<uint8_t>( dataOf( step ) ) ) );
      },
      []( Twin &twin, const BoardDevice &device, const Step &step ) {
          twin.write8( device, commandOf( step ), dataOf( step ) );
          return std::string( "0" );
      } },
    { "SmbusProxyDriver",
      []( const Records &records, const Step &step ) {
          unsigned short value = 0;
          const pl_status status =
              records.smbus->ops->readWord( records.smbus, commandOf( step ), &value );
          return result( status, value );
      },
      []( Twin &twin, const BoardDevice &device, const Step &step ) {
          return ok( std::to_string( twin.read16( device, commandOf( step ) ) ) );
      } },
    { "SmbusProxyDriver",
      []( const Records &records, const Step &step ) {
          return std::to_string( records.smbus->ops->writeWord( records.smbus, commandOf( step ),
                                                                dataOf( step ) ) );
      },
      []( Twin &twin, const BoardDevice &device, const Step &step ) {
          twin.write16( device, commandOf( step ), dataOf( step ) );
          return std::string( "0" );
      } },
    { "SmbusProxyDriver",
      []( const Records &records, const Step &step ) {
          unsigned char data[256];
          unsigned length = 0;
          const pl_status status =
              records.smbus->ops->blockRead( records.smbus, commandOf( step ), data, &length );
          return blockText( status, data, length );
      },
      []( Twin &twin, const BoardDevice &device, const Step &step ) {
          return ok( hexOf( twin.batch( device, { blockDeed( Smbus::BLOCK_READ, step ) } ).at( 0 ) ) );
      } },
    { "SmbusProxyDriver",
      []( const Records &records, const Step &step ) {
          return std::to_string( records.smbus->ops->blockWrite(
              records.smbus, commandOf( step ), bytesOf( step ), sizeOf( step ) ) );
      },
      []( Twin &twin, const BoardDevice &device, const Step &step ) {
          twin.batch( device, { blockDeed( Smbus::BLOCK_WRITE, step, step.bytes ) } );
          return std::string( "0" );
      } },
    { "SmbusProxyDriver",
      []( const Records &records, const Step &step ) {
          unsigned char data[32];
          const unsigned length = 1 + step.b % 32;
          const pl_status status =
              records.smbus->ops->i2cBlockRead( records.smbus, commandOf( step ), data, length );
          return blockText( status, data, length );
      },
      []( Twin &twin, const BoardDevice &device, const Step &step ) {
          const Deed read = readDeed( commandOf( step ), 1 + step.b % 32 );
          return ok( hexOf( twin.batch( device, { read } ).at( 0 ) ) );
      } },
    { "SmbusProxyDriver",
      []( const Records &records, const Step &step ) {
          return std::to_string( records.smbus->ops->i2cBlockWrite(
              records.smbus, commandOf( step ), bytesOf( step ), sizeOf( step ) ) );
      },
      []( Twin &twin, const BoardDevice &device, const Step &step ) {
          twin.batch( device, { writeDeed( commandOf( step ), step.bytes ) } );
          return std::string( "0" );
      } },
    { "SmbusProxyDriver",
      []( const Records &records, const Step &step ) {
          unsigned short answer = 0;
          const pl_status status = records.smbus->ops->processCall(
              records.smbus, commandOf( step ), dataOf( step ), &answer );
          return result( status, answer );
      },
      []( Twin &twin, const BoardDevice &device, const Step &step ) {
          const Deed call = blockDeed( Smbus::PROCESS_CALL, step, wordBytes( dataOf( step ) ) );
          return ok( std::to_string( wordOf( twin.batch( device, { call } ).at( 0 ) ) ) );
      } },
    { "LM75", readSensor,
      []( Twin &twin, const BoardDevice &device, const Step & ) {
          return ok( halfDegrees( twin.read16( device, 0 ) ) / 2.0 );
      } },
    { "GpioDriver",
      []( const Records &records, const Step & ) {
          return std::to_string( records.gpio->ops->bitSet( records.gpio ) );
      },
      []( Twin &twin, const BoardDevice &device, const Step & ) {
          return expectBit( twin, device, true );
      } },
    { "GpioDriver",
      []( const Records &records, const Step & ) {
          return std::to_string( records.gpio->ops->bitClear( records.gpio ) );
      },
      []( Twin &twin, const BoardDevice &device, const Step & ) {
          return expectBit( twin, device, false );
      } },
    { "GpioDriver",
      []( const Records &records, const Step & ) {
          unsigned value = 0;
          const pl_status status = records.gpio->ops->bitRead( records.gpio, &value );
          return result( status, value );
      },
      []( Twin &twin, const BoardDevice &device, const Step & ) {
          return ok( std::to_string( twin.read8( device, gpioRegister ) >> gpioBit & 1 ) );
      } },
    { "Pmbus", readSupply<&pl_psu_ops::get_input_voltage>, expectLinear11<0x88> },
    { "Pmbus", readSupply<&pl_psu_ops::get_input_current>, expectLinear11<0x89> },
    { "Pmbus", readSupply<&pl_psu_ops::get_output_current>, expectLinear11<0x8C> },
    { "Pmbus", readSupply<&pl_psu_ops::get_output_power>, expectLinear11<0x96> },
    { "Pmbus", readSupply<&pl_psu_ops::get_input_power>, expectLinear11<0x97> },
    { "Pmbus", readSupply<&pl_psu_ops::get_output_voltage>, expectOutputVoltage },
    { "Pmbus",
      []( const Records &records, const Step & ) {
          int good = 0;
          const pl_status status = records.psu->ops->get_power_ok( records.psu, &good );
          return result( status, good );
      },
      expectPowerOk },
    { "Pmbus", readSensor,
      []( Twin &twin, const BoardDevice &device, const Step & ) {
          return ok( std::max( 0.0, fromLinear( linear11( twin.read16( device, 0x8F ) ) ) ) );
      } },
    { "Pmbus", readFan, expectSupplyFan },
    { "Pmbus", setFan,
      []( Twin &twin, const BoardDevice &device, const Step &step ) {
          const int duty = std::min( speedOf( step ) * 100 / supplyMaxRpm, 100 );
          twin.write16( device, 0x3C, static_cast<uint32_t>( duty ), true );
          return std::string( "0" );
      } },
    { "VundaTFanCpld", readFan, expectCpldFan },
    { "VundaTFanCpld", setFan,
      []( Twin &twin, const BoardDevice &device, const Step &step ) {
          constexpr int maximum = 19'750;
          const int code = ( std::min( speedOf( step ), maximum ) * 16 - maximum ) / maximum;
          twin.write8( device, 0x11, static_cast<uint32_t>( code ) & 0xFF );
          return std::string( "0" );
      } },
    { "VundaTSystemLedCPLD",
      []( const Records &records, const Step &step ) {
          const auto setting = static_cast<pl_led_status>( step.a % 6 );
          return std::to_string( records.led->ops->setLightSetting( records.led, setting ) );
      },
      expectLamp },
};
// clang-format on

std::vector<std::size_t> actionsOf( const std::string &driver ) {
    std::vector<std::size_t> found;
    for ( std::size_t i = 0; i < std::size( actions ); ++i ) {
        if ( actions[i].driver == driver ) {
            found.push_back( i );
        }
    }
    return found;
}

const Adding &addingOf( const std::string &driver ) {
    return *std::find_if( std::begin( addings ), std::end( addings ),
                          [&]( const Adding &adding ) { return adding.driver == driver; } );
}

} // namespace

Step drawStep( const Board &board ) {
    Step step{};
    step.device = drawBelow( static_cast<unsigned>( board.devices.size() ) );
    const auto fitting = actionsOf( board.devices[step.device].driver );
    step.action = fitting[drawBelow( static_cast<unsigned>( fitting.size() ) )];
    step.a = drawWord();
    step.b = drawWord();
    step.bytes = "." + drawBytes( 6 );
    if ( board.devices[step.device].driver == "Dummy" ) {
        for ( unsigned i = 1 + drawBelow( 4 ); i > 0; --i ) {
            step.batch.push_back( drawRawOperation() );
        }
        if ( drawRarely( 4 ) ) {
            const auto requests = board.devices[step.device].path.size() + step.batch.size();
            step.refused = drawBelow( static_cast<unsigned>( requests ) );
        }
    }
    return step;
}

std::string describe( const Step &step ) {
    return "device " + std::to_string( step.device ) + ", action " + std::to_string( step.action ) +
           ", " + std::to_string( step.a ) + ", " + std::to_string( step.b ) +
           ( step.refused ? ", request " + std::to_string( *step.refused ) + " refused" : "" ) +
           "\n";
}

std::string Host::perform( const Step &step ) {
    const BoardDevice &device = board_.devices[step.device];
    auto found = records_.find( step.device );
    if ( found == records_.end() ) {
        const Records made = addingOf( device.driver ).library( device.arguments.c_str() );
        require( made.smbus || made.sensor || made.fan || made.gpio || made.led || made.raw,
                 "was not added: " + device.arguments );
        found = records_.emplace( step.device, made ).first;
    }
    return actions[step.action].library( found->second, step );
}

std::string Host::expect( const Step &step, Twin &twin ) {
    const BoardDevice &device = board_.devices[step.device];
    if ( expected_.insert( step.device ).second ) {
        addingOf( device.driver ).expected( twin, device );
    }
    return actions[step.action].expected( twin, device, step );
}

} // namespace Property
