#pragma once

#include "KavraGeneric/Assert.h"
#include "KavraGeneric/Components/DeviceBase.h"
#include "KavraGeneric/Ham/ExpectedVal.h"

namespace Component {

/// A device that a driver drives through one access method.
class HardwareDevice : public DeviceBase {
  public:
    ~HardwareDevice() override;

    /// A line that is one bit of an 8-bit register of this device (RegGpio).
    virtual LogicalDevice::Gpio *newGpio( const Drivers::DriverArgs &args );
    /// Register values before anything is written, for simulation. Empty here.
    virtual Utils::ExpectedValues &expectedValues();

    /// The device for the arguments' did, made if there is none yet.
    /// @param ham null to have one made, when the arguments ask for it
    /// @return null, after a trace, when no access method or no device can be made.
    static HardwareDevice *create( Drivers::DriverArgs &args, Ham::Ham *ham );

    /// Null for a device that needs none.
    Ham::Ham *ham() const { return ham_; }
    /// The same for a driver that cannot do without: asserts that there is one.
    Ham::Ham &access() const {
        ASSERT_TEXT( ham_, "ham" );
        return *ham_;
    }

    static Utils::ExpectedValues emptyExpectedValues;

  private:
    Ham::Ham *ham_ = nullptr;
};

} // namespace Component
