#pragma once

#include "KavraGeneric/Components/HardwareDevice.h"
#include "KavraGeneric/Components/Led.h"

namespace Drivers {

/// The CPLD behind the system's status lamp.
class VundaTSystemLedCPLD final : public Component::HardwareDevice {
  public:
    class StatusLed;

    static Component::DeviceBase *create( const DriverArgs &args, Ham::Ham *ham );

    /// Throws std::out_of_range ("map::at") without "reg" or "id", and std::invalid_argument for a
    /// text without a leading number. Both count modulo 256.
    /// @return null, after a trace, for a register that has no lamp
    Component::LogicalDevice::Led *newLed( const DriverArgs &args ) override;
};

class VundaTSystemLedCPLD::StatusLed final : public Component::LogicalDevice::Led {
  public:
    StatusLed( VundaTSystemLedCPLD *device, uint8_t id );

    /// @return PL_STATUS_INVALID, after a trace, for PL_LED_INACTIVE and what is no setting; the
    ///         access method's status. A lamp that blinked has left the blink list by then,
    ///         whatever the status.
    pl_status setLightSetting( pl_led_status setting ) override;
    bool handleBlinkTimer( bool phase ) override;

  private:
    pl_status show( uint8_t content );

    VundaTSystemLedCPLD *device_;
    uint8_t id_;
    uint8_t reg_;
    bool blinking_ = false;
};

} // namespace Drivers
