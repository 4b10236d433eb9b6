// LM75: digital temperature sensor with a hysteresis and an over-temperature limit. The three
// registers used here are 16 bits wide and travel with the high byte first, so the chip's high byte
// is the low one of the words that read16() and write16() deal in:
//
//     15            14 .. 8     7 .. 0
//     half degree   not used    whole degrees Celsius, two's complement
#include "KavraGeneric/Drivers/LM75.h"

#include "KavraGeneric/Assert.h"
#include "KavraGeneric/Ham/Ham.h"
#include "KavraGeneric/HostServices.h"

#include <cmath>

namespace Drivers {

namespace {

constexpr unsigned temperatureRegister = 0;
constexpr uint16_t halfDegree = 0x8000;

constexpr unsigned registerOf( LM75::Threshold threshold ) {
    return static_cast<unsigned>( threshold );
}

} // namespace

Utils::ExpectedValues LM75::values = {
    { temperatureRegister, { 39, 1 } },
    { registerOf( Threshold::Alert ), { 110, 1 } },
    { registerOf( Threshold::Overheat ), { 110, 1 } },
};

// The half moves away from zero on either side. The chip counts it upward: below zero a temperature
// with a half reads one degree low.
float LM75::registerToTemperature( uint16_t raw ) {
    const auto whole = static_cast<float>( static_cast<int8_t>( raw ) );
    if ( !( raw & halfDegree ) ) {
        return whole;
    }
    return whole >= 0 ? whole + 0.5F : whole - 0.5F;
}

// Whole degrees are cut toward zero. The sign of a negative value fills the upper half of the word,
// half-degree bit included, so the chip takes -10.0 and -10.5 both for a limit of -9.5.
static uint16_t temperatureToRegister( float celsius ) {
    const auto whole = static_cast<int8_t>( static_cast<int>( celsius ) );
    const auto half =
        static_cast<unsigned>( std::lround( 2 * ( celsius - static_cast<float>( whole ) ) ) );
    return static_cast<uint16_t>( static_cast<unsigned>( whole ) | half << 15 );
}

pl_status LM75::getTemperature( float *celsius ) {
    pl_trace( 6, "%s", "pl_status Drivers::LM75::getTemperature(float*)" );
    uint16_t raw = 0;
    const pl_status status = access().read16( temperatureRegister, &raw );
    if ( status == PL_STATUS_OK ) {
        *celsius = registerToTemperature( raw );
    }
    return status;
}

pl_status LM75::getThreshold( Threshold threshold, float *celsius ) {
    uint16_t raw = 0;
    const pl_status status = access().read16( registerOf( threshold ), &raw );
    if ( status == PL_STATUS_OK ) {
        *celsius = registerToTemperature( raw );
    }
    return status;
}

pl_status LM75::setThreshold( Threshold threshold, float celsius ) {
    return access().write16( registerOf( threshold ), temperatureToRegister( celsius ), false );
}

Utils::ExpectedValues &LM75::expectedValues() {
    return values;
}

LM75::TempSensor::TempSensor( LM75 *device ) : device_( device ) {}

void LM75::TempSensor::alertThresholdIs( float value ) {
    alertThreshold_ = value;
    assert( device_->setThreshold( Threshold::Alert, value ) == PL_STATUS_OK );
}

void LM75::TempSensor::criticalThresholdIs( float value ) {
    criticalThreshold_ = value;
    assert( device_->setThreshold( Threshold::Overheat, value ) == PL_STATUS_OK );
}

pl_status LM75::TempSensor::getTemperature( float *celsius ) {
    return device_->getTemperature( celsius );
}

Component::LogicalDevice::TempSensor *LM75::newTempSensor( const DriverArgs & ) {
    pl_trace( 5, "Creating LM75" );
    return new TempSensor( this );
}

Component::DeviceBase *LM75::create( const DriverArgs &, Ham::Ham * ) {
    return new LM75;
}

} // namespace Drivers
