#pragma once

#include "KavraGeneric/Components/HardwareDevice.h"

namespace Drivers {

/// A device that offers nothing but the bits of its registers as GPIO lines.
class Dummy final : public Component::HardwareDevice {
  public:
    static Component::DeviceBase *create( const DriverArgs &args, Ham::Ham *ham );
};

} // namespace Drivers
