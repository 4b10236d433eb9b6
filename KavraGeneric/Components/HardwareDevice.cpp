#include "KavraGeneric/Components/HardwareDevice.h"

#include "KavraGeneric/Components/Gpio.h"
#include "KavraGeneric/Drivers/Drivers.h"
#include "KavraGeneric/Ham/Ham.h"
#include "KavraGeneric/Ham/Simulation.h"
#include "KavraGeneric/HostServices.h"
#include "KavraGeneric/Json.h"

#include <memory>

namespace Component {

Utils::ExpectedValues HardwareDevice::emptyExpectedValues;

namespace {

// The device's own name is no part of the parsed arguments: only simulation, which names a file
// after it, reads the text again. Arguments from a topology document have no text.
std::string simulatedName( const Drivers::DriverArgs &args ) {
    if ( !Utils::simulationIsOn() || !args.json ) {
        return "";
    }
    rapidjson::Document document;
    document.Parse( args.json );
    return document.HasMember( "name" ) ? document["name"].GetString() : "";
}

} // namespace

HardwareDevice::~HardwareDevice() = default;

LogicalDevice::Gpio *HardwareDevice::newGpio( const Drivers::DriverArgs &args ) {
    return new LogicalDevice::RegGpio( this, args );
}

Utils::ExpectedValues &HardwareDevice::expectedValues() {
    return emptyExpectedValues;
}

HardwareDevice *HardwareDevice::create( Drivers::DriverArgs &args, Ham::Ham *ham ) {
    if ( HardwareDevice *existing = findDevice( args ) ) {
        return existing;
    }
    std::unique_ptr<Ham::Ham, Ham::Discard> madeHam;
    if ( !ham && args.provideHam ) {
        pl_trace( 0, "creating Ham" );
        madeHam.reset( Ham::createHam( args ) );
        ham = madeHam.get();
        if ( !ham ) {
            pl_trace( 0, "failed to create Ham" );
            return nullptr;
        }
    }
    std::unique_ptr<DeviceBase> made( callDriverFactoryFunc( args, ham ) );
    auto *device = dynamic_cast<HardwareDevice *>( made.get() );
    if ( !device ) {
        pl_trace( 0, "factory function returned a null object" );
        return nullptr;
    }
    const std::string name = simulatedName( args );
    device->ham_ = ham;
    if ( ham ) {
        ham->setDriverName( args.driver, name );
        ham->setExpected( &device->expectedValues() );
    }
    device->init();
    pl_trace( 0, "%s device created", args.driver.c_str() );
    devices[args.did] = device;
    static_cast<void>( made.release() );
    static_cast<void>( madeHam.release() );
    return device;
}

} // namespace Component
