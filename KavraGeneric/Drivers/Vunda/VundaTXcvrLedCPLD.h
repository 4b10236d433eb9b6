#pragma once

#include "KavraGeneric/Components/HardwareDevice.h"
#include "KavraGeneric/Components/Led.h"

#include <string>

namespace Drivers {

/// The CPLD behind the lamps of the two SFP+ ports.
class VundaTXcvrLedCPLD final : public Component::HardwareDevice {
  public:
    class PortLed;

    static Component::DeviceBase *create( const DriverArgs &args, Ham::Ham *ham );

    /// Asserts a "ledName" of the two ports; throws std::out_of_range ("map::at") without one.
    Component::LogicalDevice::Led *newLed( const DriverArgs &args ) override;

    /// Reads the lamps' register, changes a bit and writes it back.
    /// @param bit taken modulo 32; 8 and up change nothing
    /// @return PL_STATUS_IO_ERROR, after a trace, when it cannot be read; the status of the write
    pl_status setRegisterBit( unsigned char bit, int value );
};

class VundaTXcvrLedCPLD::PortLed final : public Component::LogicalDevice::Led {
  public:
    /// @param firstBit  the lamp is lit
    /// @param secondBit the lamp is lit in the other colour
    PortLed( VundaTXcvrLedCPLD *device, std::string name, uint8_t firstBit, uint8_t secondBit );

    /// @return PL_STATUS_INVALID, after a trace, for PL_LED_INACTIVE and what is no setting; the
    ///         status of the first bit that failed. A lamp that blinked has left the blink list
    ///         by then, whatever the status.
    pl_status setLightSetting( pl_led_status setting ) override;
    bool handleBlinkTimer( bool phase ) override;

  private:
    pl_status setFirstBit( int value );
    pl_status setBothBits( int first, int second );

    VundaTXcvrLedCPLD *device_;
    std::string name_;
    uint8_t firstBit_;
    uint8_t secondBit_;
    bool blinking_ = false;
};

} // namespace Drivers
