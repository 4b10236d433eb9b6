#include "KavraGeneric/Components/MultiDevice.h"

#include "KavraGeneric/Drivers/Drivers.h"
#include "KavraGeneric/HostServices.h"

#include <memory>

namespace Component {

MultiDevice::~MultiDevice() = default;

HardwareDevice *MultiDevice::create( Drivers::DriverArgs &args ) {
    if ( HardwareDevice *existing = findDevice( args ) ) {
        return existing;
    }
    std::unique_ptr<DeviceBase> made( callDriverFactoryFunc( args, nullptr ) );
    auto *device = dynamic_cast<MultiDevice *>( made.get() );
    if ( !device ) {
        pl_trace( 0, "factory function returned a null object" );
        return nullptr;
    }
    device->deviceDriverArgsIs( args.multiDeviceArgs );
    device->init();
    pl_trace( 0, "%s MultiDevice created", args.driver.c_str() );
    devices[args.did] = device;
    static_cast<void>( made.release() );
    return device;
}

void MultiDevice::deviceDriverArgsIs( std::map<std::string, std::string> args ) {
    deviceDriverArgs = std::move( args );
}

const char *MultiDevice::getDeviceDriverArg( std::string key ) {
    const auto entry = deviceDriverArgs.find( key );
    if ( entry == deviceDriverArgs.end() ) {
        pl_trace( 0, "Failed to find driverArgs for driver key '%s'", key.c_str() );
        return nullptr;
    }
    return entry->second.c_str();
}

pl_slot *MultiDevice::addSlot( std::string key ) {
    const char *args = getDeviceDriverArg( key );
    return args ? slots_.emplace_back( pl_slot_add( args ) ) : nullptr;
}

pl_led *MultiDevice::addLed( std::string key ) {
    const char *args = getDeviceDriverArg( key );
    return args ? leds_.emplace_back( pl_led_add( args ) ) : nullptr;
}

pl_psu *MultiDevice::addPsu( std::string key ) {
    const char *args = getDeviceDriverArg( key );
    return args ? psus_.emplace_back( pl_psu_add( args ) ) : nullptr;
}

pl_fan *MultiDevice::addFan( std::string key ) {
    const char *args = getDeviceDriverArg( key );
    if ( !args ) {
        return nullptr;
    }
    pl_trace( 6, "MultiDevice::addFan driver args = %s", args );
    return fans_.emplace_back( pl_fan_add( args ) );
}

pl_xcvr *MultiDevice::addXcvr( std::string key ) {
    const char *args = getDeviceDriverArg( key );
    if ( !args ) {
        return nullptr;
    }
    pl_trace( 6, "MultiDevice::addXcvr driver args = %s", args );
    return xcvrs_.emplace_back( pl_xcvr_add( args ) );
}

pl_gpio *MultiDevice::addGpio( std::string key ) {
    const char *args = getDeviceDriverArg( key );
    if ( !args ) {
        return nullptr;
    }
    pl_trace( 6, "MultiDevice::addGpio driver args = %s", args );
    return gpios_.emplace_back( pl_gpio_add( args ) );
}

} // namespace Component
