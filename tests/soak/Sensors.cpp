#include "tests/soak/Sensors.h"

#include <algorithm>
#include <cmath>

namespace Soak {

constexpr double stepsPerDegree = 8;
constexpr int unitsPerStep = 32;
constexpr unsigned halfDegree = 0x80; // of the register's second byte
constexpr unsigned char temperatureRegister = 0;
constexpr unsigned char configurationRegister = 1;
constexpr unsigned char limitRegister = 3;
constexpr unsigned criticalThreshold = 90; // as devices.json has it for the CPU board

void Sensor::temperatureIs( double celsius ) {
    temperature = celsius;
    converted = asleep ? converted : celsius;
}

void Sensor::asleepIs( bool isAsleep ) {
    asleep = isAsleep;
    temperatureIs( temperature );
}

int Sensor::registerContent() const {
    return static_cast<int>( std::floor( converted * stepsPerDegree ) ) * unitsPerStep;
}

float Sensor::reading() const {
    const auto whole = static_cast<float>( std::floor( converted ) );
    const bool isHalf = ( static_cast<unsigned>( registerContent() ) & halfDegree ) != 0;
    return whole + ( isHalf ? ( whole >= 0 ? 0.5F : -0.5F ) : 0 );
}

std::unique_ptr<Device> Sensors::device( const Entry &entry, void *record ) {
    if ( entry.name == "cpu-board-raw" ) {
        return deviceOf( [this, raw = static_cast<pl_smbus *>( record )]( Judge &judge ) {
            readRaw( raw, judge );
        } );
    }
    if ( entry.name == "cpu-board-sleep" ) {
        sleepBit_ = static_cast<pl_gpio *>( record );
        return deviceOf( [this]( Judge &judge ) {
            judge.read( "bitRead", sleepBit_, &pl_gpio_ops::bitRead,
                        Truth<unsigned>{ 0, cpuBoard_.asleep } );
        } );
    }
    const auto sensor = std::ranges::find( sensors_, entry.name, &Sensor::name );
    if ( sensor == sensors_.end() ) {
        return nullptr;
    }
    return deviceOf(
        [sensor, thermometer = static_cast<pl_temp_sensor *>( record )]( Judge &judge ) {
            judge.read( "getTemperature", thermometer, &pl_temp_sensor_ops::getTemperature,
                        Truth<float>{ PL_STATUS_OK, sensor->reading() } );
        } );
}

// The chip sends the register's high byte first, and a word has the first byte as its low one. The
// chip's pointer stays: a receive byte reads on in the register that was read last.
void Sensors::readRaw( pl_smbus *raw, Judge &judge ) const {
    const auto content = static_cast<unsigned>( cpuBoard_.registerContent() );
    const unsigned high = content >> 8 & 0xff;
    const unsigned low = content & 0xff;

    unsigned char byte = untouched<unsigned char>();
    pl_status status = raw->ops->readByte( raw, configurationRegister, &byte );
    judge.check( "readByte", status, byte, Truth<unsigned char>{ 0, cpuBoard_.asleep } );

    const auto word = static_cast<unsigned short>( high | low << 8 );
    unsigned short got = untouched<unsigned short>();
    status = raw->ops->readWord( raw, temperatureRegister, &got );
    if ( judge.check( "readWord", status, got, Truth<unsigned short>{ 0, word } ) ) {
        byte = untouched<unsigned char>();
        status = raw->ops->receiveByte( raw, &byte );
        judge.check( "receiveByte", status, byte,
                     Truth<unsigned char>{ 0, static_cast<unsigned char>( high ) } );
    }

    // The temperature register takes no writes.
    got = untouched<unsigned short>();
    status = raw->ops->processCall( raw, temperatureRegister, 0, &got );
    judge.check( "processCall", status, got, Truth<unsigned short>{ 0, word } );

    std::string limit( 2, '\0' );
    const std::string wanted = { static_cast<char>( criticalThreshold ), '\0' };
    status = raw->ops->i2cBlockRead( raw, limitRegister,
                                     reinterpret_cast<unsigned char *>( limit.data() ), 2 );
    judge.check( "i2cBlockRead", status, status == PL_STATUS_OK ? limit : std::string(),
                 Truth<std::string>{ 0, wanted }, PL_STATUS_IO_ERROR );
}

void Sensors::begin( World &world ) {
    for ( Sensor &sensor : sensors_ ) {
        world.setNumber( std::string( sensor.name ) + ".temperature", sensor.temperature );
    }
}

void Sensors::change( Random &random, World &world, std::string_view turn ) {
    const auto next = std::ranges::find( sensors_, turn, &Sensor::name );
    Sensor &sensor = next != sensors_.end() && random.oneIn( 2 )
                         ? *next
                         : sensors_[random.below( sensors_.size() )];
    sensor.temperatureIs( random.between( -2000, 9000 ) / 100.0 );
    world.setNumber( std::string( sensor.name ) + ".temperature", sensor.temperature );
}

void Sensors::setByHost( Random &random, Judge &judge ) {
    const bool sleeps = !cpuBoard_.asleep && random.oneIn( 3 );
    const pl_status status =
        sleeps ? sleepBit_->ops->bitSet( sleepBit_ ) : sleepBit_->ops->bitClear( sleepBit_ );
    if ( judge.checkStatus( sleeps ? "bitSet" : "bitClear", status ) ) {
        cpuBoard_.asleepIs( sleeps );
    }
}

} // namespace Soak
