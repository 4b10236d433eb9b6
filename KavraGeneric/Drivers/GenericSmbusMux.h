#pragma once

#include "KavraGeneric/Components/HardwareDevice.h"
#include "KavraGeneric/Components/Mux.h"

namespace Drivers {

/// A multiplexer with one control byte, one bit a channel, such as the PCA9548. It has no register:
/// the byte is all that is ever sent to it.
class GenericSmbusMux final : public Component::HardwareDevice {
  public:
    class Mux;

    static Component::DeviceBase *create( const DriverArgs &args, Ham::Ham *ham );

    /// @param value id of the channel's bus, whose low byte is the control byte
    Component::LogicalDevice::Mux *newMux( const DriverArgs &args, unsigned int value ) override;
};

class GenericSmbusMux::Mux final : public Component::LogicalDevice::Mux {
  public:
    Mux( GenericSmbusMux *device, uint32_t value );

    /// Sends the control byte.
    unsigned selectRequest( Ham::Ham *ham ) override;
    /// Sends 0, which disconnects every channel.
    unsigned resetRequest( Ham::Ham *ham ) override;
    int executeMuxRequest() override;
    Component::HardwareDevice *device() const override;

  private:
    GenericSmbusMux *device_;
    uint32_t value_;
};

} // namespace Drivers
