#pragma once

#include "KavraGeneric/Components/Fan.h"
#include "KavraGeneric/Components/Gpio.h"
#include "KavraGeneric/Components/HardwareDevice.h"
#include "KavraGeneric/Components/Psu.h"
#include "KavraGeneric/Components/TempSensor.h"

#include <memory>

namespace Drivers {

/// A power supply that speaks PMBus: its telemetry, its one or two fans and its up to three
/// temperature sensors. Every reading is written to its output when its status is PL_STATUS_OK and
/// left alone otherwise, unless its declaration says more; a failing access method's status is
/// returned as it is.
class Pmbus final : public Component::HardwareDevice {
  public:
    class Psu;
    class Fan;
    class TempSensor;

    /// For a supply whose output-voltage exponent is its own to tell.
    static constexpr uint8_t noExponent = 255;

    /// Reads "voutExponent", "powerOkActiveLow" and, when "gpioDevice" names the labelled device
    /// with the power-good bit, "powerOkReg" and "powerOkBit". Throws std::out_of_range for one of
    /// these two that is missing, std::invalid_argument for a text without a leading number.
    static Component::DeviceBase *create( const DriverArgs &args, Ham::Ham *ham );

    Component::LogicalDevice::Psu *newPsu( const DriverArgs &args ) override;
    /// Asserts "fanId", 1 or 2, and "maxFanRpm", the speed at full duty; reads "pec".
    Component::LogicalDevice::Fan *newFan( const DriverArgs &args ) override;
    /// Asserts "sensorId"; reads "tempSensor", 1 to 3 and the sensorId by default. Throws
    /// std::out_of_range for another sensor.
    Component::LogicalDevice::TempSensor *newTempSensor( const DriverArgs &args ) override;
    Utils::ExpectedValues &expectedValues() override;

    /// Clears the supply's faults first, so that a fault of the past does not count.
    /// @return PL_STATUS_BAD_READING for a supply that is on but not good
    pl_status get_power_ok( int *good );
    pl_status get_input_current( float *amperes );
    pl_status get_output_current( float *amperes );
    pl_status get_input_voltage( float *volts );
    /// PL_STATUS_OK with the output left alone when the supply uses neither of the two linear
    /// formats.
    pl_status get_output_voltage( float *volts );
    pl_status get_input_power( float *watts );
    pl_status get_output_power( float *watts );

    /// Lifts the write protection and clears all faults.
    pl_status clearFaults();
    /// A LINEAR11 reading.
    pl_status pmbus_read_linear( uint8_t command, float *value );
    /// Whatever the status, an output below 0.0 becomes 0.0.
    pl_status getTemperature( uint8_t command, float *celsius );
    /// @return PL_STATUS_BAD_READING for a fan with a fault; PL_STATUS_IO_ERROR, after a trace, for
    ///         a negative speed, which is written all the same.
    pl_status getFanRpm( const Fan &fan, int *rpm );
    /// Writes the speed as whole percents of the fan's maximum, at most 100; a negative one as 100.
    pl_status setFanRpm( const Fan &fan, int rpm );

    /// mantissa * 2^exponent, both two's complement numbers of so many bits, at least 1; the bits
    /// above are not looked at.
    static float linearToReal( uint16_t raw, uint8_t exponent, uint8_t mantissaBits,
                               uint8_t exponentBits );

    static Utils::ExpectedValues values; ///< what expectedValues() gives

  private:
    Pmbus( uint8_t exponent, std::unique_ptr<Component::LogicalDevice::Gpio> powerOkGpio,
           bool activeLow );

    uint8_t voutExponent_;
    std::unique_ptr<Component::LogicalDevice::Gpio> powerOkGpio_; // null: STATUS_WORD tells
    bool powerOkActiveLow_;
};

/// Each operation is the supply's own of the same name.
class Pmbus::Psu final : public Component::LogicalDevice::Psu {
  public:
    explicit Psu( Pmbus *device );

    pl_status get_power_ok( int *good ) override;
    pl_status get_input_current( float *amperes ) override;
    pl_status get_output_current( float *amperes ) override;
    pl_status get_input_voltage( float *volts ) override;
    pl_status get_output_voltage( float *volts ) override;
    pl_status get_input_power( float *watts ) override;
    pl_status get_output_power( float *watts ) override;

  private:
    Pmbus *device_;
};

class Pmbus::Fan final : public Component::LogicalDevice::Fan {
  public:
    /// @param fanId 0 or 1
    /// @param pec the duty is written with a packet error code
    Fan( Pmbus *device, uint8_t fanId, int maxFanRpm, bool pec );

    pl_status getRpm( int *rpm ) override;
    pl_status setRpm( int rpm ) override;

    uint8_t fanId() const { return fanId_; }
    int maxFanRpm() const { return maxFanRpm_; }
    uint8_t readReg() const { return readReg_; }
    uint8_t cmdReg() const { return cmdReg_; }
    uint8_t faultMask() const { return faultMask_; }
    bool pec() const { return pec_; }

  private:
    Pmbus *device_;
    uint8_t fanId_;
    int32_t maxFanRpm_;
    uint8_t readReg_;
    uint8_t cmdReg_;
    uint8_t faultMask_; // in STATUS_FANS_1_2
    bool pec_;
};

class Pmbus::TempSensor final : public Component::LogicalDevice::TempSensor {
  public:
    TempSensor( Pmbus *device, uint8_t id, uint8_t reg );

    pl_status getTemperature( float *celsius ) override;

    uint8_t id() const { return id_; }
    uint8_t reg() const { return reg_; }

  private:
    Pmbus *device_;
    uint8_t id_;
    uint8_t reg_;
};

} // namespace Drivers
