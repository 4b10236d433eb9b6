#pragma once

#include <cstdint>
#include <map>

namespace Drivers {
struct DriverArgs;
}
namespace Ham {
class Ham;
}

namespace Component {

namespace LogicalDevice {
class Fan;
class Gpio;
class Led;
class Mux;
class PoePort;
class Psu;
class QsfpXcvr;
class SfpXcvr;
class Slot;
class SmbusProxy;
class TempSensor;
} // namespace LogicalDevice

class HardwareDevice;

/// What a driver makes. Each newX() returns a logical device that lives as long as the process, or
/// null when the driver refuses; here each throws NotImplementedException with its own name.
class DeviceBase {
  public:
    DeviceBase() = default;
    DeviceBase( const DeviceBase & ) = delete;
    DeviceBase &operator=( const DeviceBase & ) = delete;

    /// Called once, when the device has its access method.
    virtual void init();

    virtual LogicalDevice::PoePort *newPoePort( const Drivers::DriverArgs &args );
    virtual LogicalDevice::TempSensor *newTempSensor( const Drivers::DriverArgs &args );
    virtual LogicalDevice::Slot *newSlot( const Drivers::DriverArgs &args );
    virtual LogicalDevice::SfpXcvr *newSfpXcvr( unsigned int id, const Drivers::DriverArgs &args );
    virtual LogicalDevice::QsfpXcvr *newQsfpXcvr( unsigned int id,
                                                  const Drivers::DriverArgs &args );
    virtual LogicalDevice::Led *newLed( const Drivers::DriverArgs &args );
    virtual LogicalDevice::Fan *newFan( const Drivers::DriverArgs &args );
    virtual LogicalDevice::Mux *newMux( const Drivers::DriverArgs &args, unsigned int value );
    virtual LogicalDevice::Psu *newPsu( const Drivers::DriverArgs &args );
    virtual LogicalDevice::SmbusProxy *newSmbusProxy( const Drivers::DriverArgs &args );

    virtual ~DeviceBase();

    /// The device that a device-arguments text names, made if there is none yet.
    /// @param[out] args the parsed text, for the newX() that follows
    /// @return null, after a trace, when the text is no JSON or the device cannot be made.
    static DeviceBase *create( const char *devArgsText, Drivers::DriverArgs &args );
    /// @return the device already made for the arguments' did, or null.
    static HardwareDevice *findDevice( Drivers::DriverArgs &args );
    /// @return what the driver's factory gives, or null, after a trace, for an unknown driver.
    static DeviceBase *callDriverFactoryFunc( Drivers::DriverArgs &args, Ham::Ham *ham );

    /// Every device made so far, by topology device id. Nothing is ever removed.
    static std::map<uint32_t, HardwareDevice *> devices;
};

} // namespace Component
