#pragma once

#include "KavraGeneric/Components/HostRecord.h"

#include <PlatformLibrary/pl.h>

namespace Component::LogicalDevice {

/// Temperatures are in degrees Celsius.
class TempSensor {
  public:
    TempSensor();
    TempSensor( const TempSensor & ) = delete;
    TempSensor &operator=( const TempSensor & ) = delete;
    virtual ~TempSensor();

    /// Keeps the value. A sensor with limit registers writes it there too.
    virtual void alertThresholdIs( float celsius );
    /// Keeps the value. A sensor with limit registers writes it there too.
    virtual void criticalThresholdIs( float celsius );
    virtual pl_status getTemperature( float *celsius ) = 0;

    pl_temp_sensor *record() { return &host_.record; }

    static pl_status getTemperatureCallback( pl_temp_sensor *sensor, float *celsius );
    static const pl_temp_sensor_ops ops_;

  private:
    HostRecord<pl_temp_sensor, TempSensor> host_;

  protected:
    float alertThreshold_ = 0;
    float criticalThreshold_ = 0;
};

} // namespace Component::LogicalDevice
