#include "KavraGeneric/Components/MultiDevice.h"
#include "KavraGeneric/NotImplementedException.h"
#include "tests/KavraGeneric/Components/CreationFixture.h"
#include "tests/KavraGeneric/Components/Layout.h"

namespace {

using Component::DeviceBase;
using Component::HardwareDevice;
using Layout::virtualSlot;

using DeviceBaseTest = CreationTest;

TEST_F( DeviceBaseTest, NewDeviceIsTracedStepByStep ) {
    const std::string arguments = text( "Probe", 7 );
    EXPECT_EQ( probe, create( arguments ) );
    EXPECT_EQ( ( Strings{ "parsing devArgs = " + arguments, "looking for already existing device 7",
                          "creating HardwareDevice Probe", "calling factory function for Probe",
                          "Probe device created" } ),
               host().texts( 0 ) );
    EXPECT_EQ( 5U, host().lines.size() ) << "nothing at other levels";
}

TEST_F( DeviceBaseTest, NewDeviceIsEnteredUnderItsDid ) {
    create( text( "Probe", 4294967295 ) );
    EXPECT_EQ( probe, DeviceBase::devices.at( 4294967295 ) );
}

TEST_F( DeviceBaseTest, CallersArgumentsAreFilledAndHandedToTheFactory ) {
    create( text( "Probe", 7, R"("provideHam": 0, "uid": 3, "driverArgs": { "id": 4 })" ) );
    EXPECT_EQ( &args, factoryArgs );
    EXPECT_EQ( 3U, args.uid );
    EXPECT_EQ( "4", args.driverArgs.at( "id" ) );
}

TEST_F( DeviceBaseTest, TextThatIsNoJsonGivesNull ) {
    EXPECT_EQ( nullptr, create( "{" ) );
    EXPECT_EQ( ( Strings{ "parsing devArgs = {",
                          "failed to load device from json: Missing a name for object member. "
                          "offset 1",
                          "failed to parse json object as a device" } ),
               host().texts( 0 ) );
    EXPECT_TRUE( DeviceBase::devices.empty() );
}

TEST_F( DeviceBaseTest, UnknownDriverGivesNull ) {
    EXPECT_EQ( nullptr, create( text( "Nobody", 7 ) ) );
    EXPECT_EQ( ( Strings{ "looking for already existing device 7", "creating HardwareDevice Nobody",
                          "driver Nobody not found", "factory function returned a null object" } ),
               steps() );
    EXPECT_TRUE( DeviceBase::devices.empty() );
}

TEST_F( DeviceBaseTest, DriverNamesAreCaseSensitive ) {
    EXPECT_EQ( nullptr, create( text( "probe", 7 ) ) );
    EXPECT_TRUE( host().traced( 0, "driver probe not found" ) );
}

TEST_F( DeviceBaseTest, FactoryThatRefusesGivesNull ) {
    driver( "Refusing", [] { return nullptr; } );
    EXPECT_EQ( nullptr, create( text( "Refusing", 7 ) ) );
    EXPECT_EQ(
        ( Strings{ "looking for already existing device 7", "creating HardwareDevice Refusing",
                   "calling factory function for Refusing",
                   "factory function returned a null object" } ),
        steps() );
    EXPECT_TRUE( DeviceBase::devices.empty() );
}

TEST_F( DeviceBaseTest, FactoryWithoutAHardwareDeviceCountsAsNull ) {
    driver( "Bare", [] { return new DeviceBase; } );
    EXPECT_EQ( nullptr, create( text( "Bare", 7 ) ) );
    EXPECT_EQ( "factory function returned a null object", steps().back() );
    EXPECT_FALSE( isEntered( 7 ) );
}

TEST_F( DeviceBaseTest, SecondTextWithTheDidReusesTheDeviceWhateverItsDriver ) {
    driver( "Other", [] { return new Probe; } );
    DeviceBase *first = create( text( "Probe", 7 ) );
    host().lines.clear();
    EXPECT_EQ( first, create( text( "Other", 7 ) ) );
    EXPECT_EQ( 0, factoryCalls["Other"] );
    EXPECT_EQ( ( Strings{ "looking for already existing device 7",
                          "using previously instanciated HardwareDevice Other" } ),
               steps() );
}

TEST_F( DeviceBaseTest, ReuseDoesNotAskForAKnownDriver ) {
    DeviceBase *first = create( text( "Probe", 7 ) );
    EXPECT_EQ( first, create( text( "Nobody", 7 ) ) );
}

TEST_F( DeviceBaseTest, AnotherUidReusesTheDevice ) {
    DeviceBase *first = create( text( "Probe", 7, R"("provideHam": 0, "uid": 1)" ) );
    EXPECT_EQ( first, create( text( "Probe", 7, R"("provideHam": 0, "uid": 2)" ) ) );
    EXPECT_EQ( 1, factoryCalls["Probe"] );
    EXPECT_EQ( 1, probe->initCount );
    EXPECT_EQ( 2U, args.uid ) << "the new arguments are for the logical device";
}

TEST_F( DeviceBaseTest, AnotherDidIsAnotherDevice ) {
    DeviceBase *first = create( text( "Probe", 7 ) );
    EXPECT_NE( first, create( text( "Probe", 8 ) ) );
    EXPECT_EQ( 2U, DeviceBase::devices.size() );
}

TEST_F( DeviceBaseTest, FailedDeviceIsTriedAgain ) {
    EXPECT_EQ( nullptr, create( text( "Nobody", 7 ) ) );
    EXPECT_EQ( probe, create( text( "Probe", 7 ) ) );
    EXPECT_NE( nullptr, probe );
}

TEST_F( DeviceBaseTest, EveryFactoryOfADeviceWithoutFunctionsThrows ) {
    DeviceBase &device = *create( text( "GpioDriver", 7 ) );
    const std::map<std::string, std::function<void()>> factories = {
        { "newPoePort", [&] { device.newPoePort( args ); } },
        { "newTempSensor", [&] { device.newTempSensor( args ); } },
        { "newSlot", [&] { device.newSlot( args ); } },
        { "newSfpXcvr", [&] { device.newSfpXcvr( 1, args ); } },
        { "newQsfpXcvr", [&] { device.newQsfpXcvr( 1, args ); } },
        { "newLed", [&] { device.newLed( args ); } },
        { "newFan", [&] { device.newFan( args ); } },
        { "newMux", [&] { device.newMux( args, 1 ); } },
        { "newPsu", [&] { device.newPsu( args ); } },
        { "newSmbusProxy", [&] { device.newSmbusProxy( args ); } },
    };
    for ( const auto &[name, factory] : factories ) {
        SCOPED_TRACE( name );
        try {
            factory();
            ADD_FAILURE() << "nothing was thrown";
        } catch ( const NotImplementedException &exception ) {
            EXPECT_EQ( "Not implemented " + name, exception.what() );
        }
    }
}

TEST_F( DeviceBaseTest, MissingFactoryLeavesTheEntryPointAsAnException ) {
    const std::string fan = text( "GpioDriver", 7 );
    EXPECT_THROW( pl_fan_add( fan.c_str() ), NotImplementedException );
    EXPECT_TRUE( isEntered( 7 ) ) << "the hardware device stays";
}

// Drivers built apart from the library's sources rely on the places.
TEST_F( DeviceBaseTest, OperationsHaveTheirPlacesInTheVirtualTable ) {
    EXPECT_EQ( 0U, virtualSlot( &DeviceBase::init ) );
    EXPECT_EQ( 1U, virtualSlot( &DeviceBase::newPoePort ) );
    EXPECT_EQ( 2U, virtualSlot( &DeviceBase::newTempSensor ) );
    EXPECT_EQ( 3U, virtualSlot( &DeviceBase::newSlot ) );
    EXPECT_EQ( 4U, virtualSlot( &DeviceBase::newSfpXcvr ) );
    EXPECT_EQ( 5U, virtualSlot( &DeviceBase::newQsfpXcvr ) );
    EXPECT_EQ( 6U, virtualSlot( &DeviceBase::newLed ) );
    EXPECT_EQ( 7U, virtualSlot( &DeviceBase::newFan ) );
    EXPECT_EQ( 8U, virtualSlot( &DeviceBase::newMux ) );
    EXPECT_EQ( 9U, virtualSlot( &DeviceBase::newPsu ) );
    EXPECT_EQ( 10U, virtualSlot( &DeviceBase::newSmbusProxy ) );
    // The destructor takes two.
    EXPECT_EQ( 13U, virtualSlot( &HardwareDevice::newGpio ) );
    EXPECT_EQ( 14U, virtualSlot( &HardwareDevice::expectedValues ) );
}

} // namespace
