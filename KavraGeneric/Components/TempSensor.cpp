#include "KavraGeneric/Components/TempSensor.h"

#include "KavraGeneric/Components/DeviceBase.h"
#include "KavraGeneric/Drivers/Drivers.h"
#include "KavraGeneric/HostServices.h"

#include <cstddef>
#include <memory>

namespace Component::LogicalDevice {

TempSensor::TempSensor() : host_( &ops_, this ) {}

TempSensor::~TempSensor() = default;

void TempSensor::alertThresholdIs( float celsius ) {
    alertThreshold_ = celsius;
}

void TempSensor::criticalThresholdIs( float celsius ) {
    criticalThreshold_ = celsius;
}

pl_status TempSensor::getTemperatureCallback( pl_temp_sensor *sensor, float *celsius ) {
    pl_trace( 4, "%s(%p)", "getTemperatureCallback", static_cast<const void *>( sensor ) );
    return HostRecord<pl_temp_sensor, TempSensor>::deviceOf( sensor ).getTemperature( celsius );
}

const pl_temp_sensor_ops TempSensor::ops_ = {
    .size = sizeof( pl_temp_sensor_ops ),
    .reserved = 0,
    .unused = nullptr,
    .getTemperature = getTemperatureCallback,
};
static_assert( sizeof( pl_temp_sensor_ops ) == 24 );
static_assert( offsetof( pl_temp_sensor_ops, getTemperature ) == 16 );

} // namespace Component::LogicalDevice

pl_temp_sensor *pl_temp_sensor_add( const char *arguments, float alertThreshold,
                                    float criticalThreshold ) {
    Drivers::DriverArgs args;
    Component::DeviceBase *device = Component::DeviceBase::create( arguments, args );
    if ( !device ) {
        return nullptr;
    }
    std::unique_ptr<Component::LogicalDevice::TempSensor> sensor( device->newTempSensor( args ) );
    if ( !sensor ) {
        return nullptr;
    }
    pl_trace( 0, "setting alert threshold" );
    sensor->alertThresholdIs( alertThreshold );
    pl_trace( 0, "setting critical threshold" );
    sensor->criticalThresholdIs( criticalThreshold );
    return sensor.release()->record();
}
