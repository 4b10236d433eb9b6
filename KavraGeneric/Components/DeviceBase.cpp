#include "KavraGeneric/Components/DeviceBase.h"

#include "KavraGeneric/Components/HardwareDevice.h"
#include "KavraGeneric/Components/MultiDevice.h"
#include "KavraGeneric/Drivers/Drivers.h"
#include "KavraGeneric/Drivers/Registry.h"
#include "KavraGeneric/HostServices.h"
#include "KavraGeneric/NotImplementedException.h"

namespace Component {

std::map<uint32_t, HardwareDevice *> DeviceBase::devices;

DeviceBase::~DeviceBase() = default;

void DeviceBase::init() {}

LogicalDevice::PoePort *DeviceBase::newPoePort( const Drivers::DriverArgs & ) {
    throw NotImplementedException( "newPoePort" );
}
LogicalDevice::TempSensor *DeviceBase::newTempSensor( const Drivers::DriverArgs & ) {
    throw NotImplementedException( "newTempSensor" );
}
LogicalDevice::Slot *DeviceBase::newSlot( const Drivers::DriverArgs & ) {
    throw NotImplementedException( "newSlot" );
}
LogicalDevice::SfpXcvr *DeviceBase::newSfpXcvr( unsigned int, const Drivers::DriverArgs & ) {
    throw NotImplementedException( "newSfpXcvr" );
}
LogicalDevice::QsfpXcvr *DeviceBase::newQsfpXcvr( unsigned int, const Drivers::DriverArgs & ) {
    throw NotImplementedException( "newQsfpXcvr" );
}
LogicalDevice::Led *DeviceBase::newLed( const Drivers::DriverArgs & ) {
    throw NotImplementedException( "newLed" );
}
LogicalDevice::Fan *DeviceBase::newFan( const Drivers::DriverArgs & ) {
    throw NotImplementedException( "newFan" );
}
LogicalDevice::Mux *DeviceBase::newMux( const Drivers::DriverArgs &, unsigned int ) {
    throw NotImplementedException( "newMux" );
}
LogicalDevice::Psu *DeviceBase::newPsu( const Drivers::DriverArgs & ) {
    throw NotImplementedException( "newPsu" );
}
LogicalDevice::SmbusProxy *DeviceBase::newSmbusProxy( const Drivers::DriverArgs & ) {
    throw NotImplementedException( "newSmbusProxy" );
}

DeviceBase *DeviceBase::create( const char *devArgsText, Drivers::DriverArgs &args ) {
    pl_trace( 0, "parsing devArgs = %s", devArgsText );
    if ( !args.parseJSON( devArgsText ) ) {
        pl_trace( 0, "failed to parse json object as a device" );
        return nullptr;
    }
    if ( args.isMultiDevice ) {
        return MultiDevice::create( args );
    }
    return HardwareDevice::create( args, nullptr );
}

HardwareDevice *DeviceBase::findDevice( Drivers::DriverArgs &args ) {
    pl_trace( 0, "looking for already existing device %u", args.did );
    const auto entry = devices.find( args.did );
    if ( entry == devices.end() ) {
        return nullptr;
    }
    pl_trace( 0, "using previously instanciated HardwareDevice %s", args.driver.c_str() );
    return entry->second;
}

DeviceBase *DeviceBase::callDriverFactoryFunc( Drivers::DriverArgs &args, Ham::Ham *ham ) {
    pl_trace( 0, "creating HardwareDevice %s", args.driver.c_str() );
    const auto driver = Drivers::drivers.find( args.driver );
    if ( driver == Drivers::drivers.end() ) {
        pl_trace( 0, "driver %s not found", args.driver.c_str() );
        return nullptr;
    }
    pl_trace( 0, "calling factory function for %s", args.driver.c_str() );
    return driver->second( args, ham );
}

} // namespace Component
