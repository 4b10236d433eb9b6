#include "KavraGeneric/Drivers/Dummy.h"

#include "KavraGeneric/Components/Gpio.h"
#include "KavraGeneric/Drivers/Drivers.h"
#include "KavraGeneric/NotImplementedException.h"
#include "tests/support/LibraryFixture.h"

#include <memory>

namespace {

using Component::DeviceBase;
using Drivers::DriverArgs;

const DriverArgs noArguments;

struct Operation {
    const char *name;
    void ( *call )( DeviceBase &device );
};
constexpr Operation operations[] = {
    { "newPoePort", []( DeviceBase &device ) { device.newPoePort( noArguments ); } },
    { "newTempSensor", []( DeviceBase &device ) { device.newTempSensor( noArguments ); } },
    { "newSlot", []( DeviceBase &device ) { device.newSlot( noArguments ); } },
    { "newSfpXcvr", []( DeviceBase &device ) { device.newSfpXcvr( 1, noArguments ); } },
    { "newQsfpXcvr", []( DeviceBase &device ) { device.newQsfpXcvr( 1, noArguments ); } },
    { "newLed", []( DeviceBase &device ) { device.newLed( noArguments ); } },
    { "newFan", []( DeviceBase &device ) { device.newFan( noArguments ); } },
    { "newMux", []( DeviceBase &device ) { device.newMux( noArguments, 1 ); } },
    { "newPsu", []( DeviceBase &device ) { device.newPsu( noArguments ); } },
    { "newSmbusProxy", []( DeviceBase &device ) { device.newSmbusProxy( noArguments ); } },
};

class DummyTest : public LibraryFixture, public testing::WithParamInterface<const char *> {
  protected:
    /// A device that the registry makes under the name, without an access method.
    static DeviceBase *make( const std::string &driver ) {
        static std::string text;
        text = R"({ "did": 1, "provideHam": 0, "address": { "address": 72 }, "driver": ")" +
               driver + "\" }";
        DriverArgs args;
        return DeviceBase::create( text.c_str(), args );
    }

    DeviceBase *const device = make( GetParam() );
};

TEST_P( DummyTest, EveryOperationThrowsItsName ) {
    for ( const Operation &operation : operations ) {
        SCOPED_TRACE( operation.name );
        try {
            operation.call( *device );
            ADD_FAILURE() << "nothing was thrown";
        } catch ( const NotImplementedException &missing ) {
            EXPECT_EQ( std::string( "Not implemented " ) + operation.name, missing.what() );
        }
    }
}

TEST_P( DummyTest, HasTheGpioLinesOfEveryHardwareDevice ) {
    auto *const hardware = dynamic_cast<Component::HardwareDevice *>( device );
    DriverArgs args;
    args.driverArgs = { { "register", "1" }, { "bitpos", "2" } };
    const std::unique_ptr<Component::LogicalDevice::Gpio> gpio( hardware->newGpio( args ) );
    EXPECT_NE( nullptr, dynamic_cast<Component::LogicalDevice::RegGpio *>( gpio.get() ) );
}

TEST_P( DummyTest, NeedsNoAccessMethod ) {
    EXPECT_EQ( nullptr, dynamic_cast<Component::HardwareDevice *>( device )->ham() );
    EXPECT_NE( nullptr, dynamic_cast<Drivers::Dummy *>( device ) );
}

INSTANTIATE_TEST_SUITE_P( Names, DummyTest, testing::Values( "Dummy", "GpioDriver" ),
                          []( const auto &name ) { return std::string( name.param ); } );

} // namespace
