#pragma once

#include "KavraGeneric/Components/HardwareDevice.h"
#include "KavraGeneric/Components/TempSensor.h"

namespace Drivers {

/// A temperature sensor of the LM75 family: half degrees Celsius from -55 to 125, and two limits.
class LM75 final : public Component::HardwareDevice {
  public:
    /// The limits. The values are the chip's registers.
    enum class Threshold : unsigned {
        Alert = 2,    ///< hysteresis
        Overheat = 3, ///< over-temperature shutdown
    };

    class TempSensor;

    static Component::DeviceBase *create( const DriverArgs &args, Ham::Ham *ham );

    Component::LogicalDevice::TempSensor *newTempSensor( const DriverArgs &args ) override;
    Utils::ExpectedValues &expectedValues() override;

    /// @return the access method's status; *celsius is written when it is PL_STATUS_OK
    pl_status getTemperature( float *celsius );
    /// @return the access method's status; *celsius is written when it is PL_STATUS_OK
    pl_status getThreshold( Threshold threshold, float *celsius );
    /// Written in half degrees: a quarter goes up to the half, three quarters fall back to the
    /// whole. The range is not checked.
    pl_status setThreshold( Threshold threshold, float celsius );

    /// Degrees Celsius from a register word as read16() gives it: whole degrees, signed, in the low
    /// byte; a half in bit 15, away from zero.
    static float registerToTemperature( uint16_t raw );

    static Utils::ExpectedValues values; ///< what expectedValues() gives
};

class LM75::TempSensor final : public Component::LogicalDevice::TempSensor {
  public:
    explicit TempSensor( LM75 *device );

    /// Keeps the value and writes the limit register. Asserts that the write succeeds.
    void alertThresholdIs( float value ) override;
    /// Keeps the value and writes the limit register. Asserts that the write succeeds.
    void criticalThresholdIs( float value ) override;
    pl_status getTemperature( float *celsius ) override;

  private:
    LM75 *device_;
};

} // namespace Drivers
