#pragma once

namespace Ham {
class Ham;
}

namespace Component {

class HardwareDevice;

namespace LogicalDevice {

/// One channel of a multiplexer. The host never sees it: access methods switch it around the
/// batches of the devices behind it.
class Mux {
  public:
    Mux() = default;
    Mux( const Mux & ) = delete;
    Mux &operator=( const Mux & ) = delete;
    virtual ~Mux();

    /// Queues what connects the channel. @return the number of requests queued.
    virtual unsigned selectRequest( Ham::Ham *ham ) = 0;
    /// Queues what disconnects every channel. @return the number of requests queued.
    virtual unsigned resetRequest( Ham::Ham *ham ) = 0;
    /// Connects the channel in a batch of its own, through the mux device's own access method.
    virtual int executeMuxRequest() = 0;
    virtual HardwareDevice *device() const = 0;
};

} // namespace LogicalDevice
} // namespace Component
