#pragma once

#include "KavraGeneric/Components/HostRecord.h"

#include <PlatformLibrary/pl.h>

namespace Drivers {
struct DriverArgs;
}

namespace Component {

class HardwareDevice;

namespace LogicalDevice {

class Gpio {
  public:
    Gpio();
    Gpio( const Gpio & ) = delete;
    Gpio &operator=( const Gpio & ) = delete;
    virtual ~Gpio();

    virtual pl_status bitClear() = 0;
    virtual pl_status bitSet() = 0;
    /// @param[out] value 0 or 1
    virtual pl_status bitRead( unsigned int *value ) = 0;

    pl_gpio *record() { return &host_.record; }

    static pl_status bitSetCallback( pl_gpio *gpio );
    static pl_status bitClearCallback( pl_gpio *gpio );
    static pl_status bitReadCallback( pl_gpio *gpio, unsigned int *value );
    static const pl_gpio_ops ops_;

  private:
    HostRecord<pl_gpio, Gpio> host_;
};

/// A line that is one bit of an 8-bit register of its hardware device. Returns the access method's
/// status as it is.
class RegGpio final : public Gpio {
  public:
    /// Reads "register" and "bitpos" from the driver arguments, both decimal: in a hexadecimal text
    /// the number ends at the x. Asserts both; throws std::invalid_argument for a text without a
    /// leading number.
    RegGpio( HardwareDevice *device, const Drivers::DriverArgs &args );

    pl_status bitClear() override;
    pl_status bitSet() override;
    pl_status bitRead( unsigned int *value ) override;

  private:
    HardwareDevice *device_;
    bool writeOnly_ = false; // the register cannot be read: the other bits are written as 0 or 1
    int register_;
    int bitpos_;
};

} // namespace LogicalDevice
} // namespace Component
