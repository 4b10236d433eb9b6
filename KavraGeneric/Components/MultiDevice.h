#pragma once

#include "KavraGeneric/Components/HardwareDevice.h"

#include <PlatformLibrary/pl.h>

#include <list>
#include <string>

namespace Component {

/// A device made of several, each of which it adds from a device-arguments text of its own.
class MultiDevice : public HardwareDevice {
  public:
    ~MultiDevice() override;

    /// The device for the arguments' did, made without an access method if there is none yet.
    /// @return null, after a trace, when the driver makes no device of this kind.
    static HardwareDevice *create( Drivers::DriverArgs &args );

    void deviceDriverArgsIs( std::map<std::string, std::string> args );
    /// @return the text stored under the key, this device's own; null, after a trace, without one.
    const char *getDeviceDriverArg( std::string key );

    /// @name Adding a sub-device by its key
    /// Each calls the entry point of its class and keeps the record, even a null one.
    /// @return the record; null for an unknown key, of which nothing is kept.
    /// @{
    pl_slot *addSlot( std::string key );
    pl_led *addLed( std::string key );
    pl_psu *addPsu( std::string key );
    pl_fan *addFan( std::string key );
    pl_xcvr *addXcvr( std::string key );
    pl_gpio *addGpio( std::string key );
    /// @}

  protected:
    std::list<pl_slot *> slots_;
    std::list<pl_led *> leds_;
    std::list<pl_psu *> psus_;
    std::list<pl_fan *> fans_;
    std::list<pl_xcvr *> xcvrs_;
    std::list<pl_gpio *> gpios_;
    std::map<std::string, std::string> deviceDriverArgs;
};

} // namespace Component
