#include "KavraGeneric/Components/Gpio.h"
#include "KavraGeneric/Ham/Simulation.h"
#include "tests/KavraGeneric/Components/CreationFixture.h"

#include <cstdlib>

namespace {

using Component::DeviceBase;
using Component::HardwareDevice;

class HardwareDeviceTest : public CreationTest {
  protected:
    /// Device 7, on a bus that an SMBus server serves.
    static void boardWithDevice7() {
        loadTopology( R"([ { "type": "I2C", "ham": "KavraSmbus", "id": 1,
                             "devices": [ { "did": 7 } ] } ])" );
    }

    /// Parses the text and makes its device with the access method.
    HardwareDevice *createWith( Ham::Ham *ham, const std::string &arguments ) {
        texts.push_back( arguments );
        EXPECT_TRUE( args.parseJSON( texts.back().c_str() ) );
        return HardwareDevice::create( args, ham );
    }

    static constexpr const char *named = R"("name": "board-temp")";
    NotingHam ham_;
};

TEST_F( HardwareDeviceTest, DeviceThatNeedsNoAccessMethodHasNone ) {
    create( text( "Probe", 7 ) );
    EXPECT_EQ( nullptr, probe->ham() );
    EXPECT_EQ( nullptr, factoryHam );
    EXPECT_FALSE( host().traced( 0, "creating Ham" ) );
}

TEST_F( HardwareDeviceTest, DriverThatCannotDoWithoutAnAccessMethodStopsWithoutOne ) {
    create( text( "Probe", 7 ) );
    EXPECT_DEATH( probe->access(), "Assertion `ham' failed" );
    createWith( &ham_, text( "Probe", 8 ) );
    EXPECT_EQ( &ham_, &probe->access() );
}

TEST_F( HardwareDeviceTest, AccessMethodOfTheTopologyIsMadeFirst ) {
    boardWithDevice7();
    create( text( "Probe", 7, R"("provideHam": 1)" ) );
    EXPECT_EQ( ( Strings{ "looking for already existing device 7", "creating Ham",
                          "looking for component 4294967295 of device 7 in topology",
                          "creating KavraSmbus HAM using topology information",
                          "creating HardwareDevice Probe", "calling factory function for Probe",
                          "virtual Ham::setDriverName() invoked!!!",
                          "virtual Ham::setExpected() invoked!!!", "Probe device created" } ),
               steps() );
    EXPECT_NE( nullptr, probe->ham() );
    EXPECT_EQ( factoryHam, probe->ham() );
}

TEST_F( HardwareDeviceTest, AccessMethodIsMadeUnlessTheArgumentsRefuseIt ) {
    boardWithDevice7();
    create( text( "Probe", 7, R"("comment": "")" ) );
    EXPECT_NE( nullptr, probe->ham() );
}

TEST_F( HardwareDeviceTest, FailedAccessMethodGivesNull ) {
    boardWithDevice7();
    EXPECT_EQ( nullptr, create( text( "Probe", 8, R"("provideHam": 1)" ) ) );
    EXPECT_EQ( ( Strings{ "looking for already existing device 8", "creating Ham",
                          "looking for component 4294967295 of device 8 in topology",
                          "could not find component uid -1 in topology", "failed to create Ham" } ),
               steps() );
    EXPECT_EQ( 0, factoryCalls["Probe"] );
    EXPECT_FALSE( isEntered( 8 ) );
}

TEST_F( HardwareDeviceTest, AccessMethodGoesWithTheDeviceThatTheFactoryRefuses ) {
    driver( "Refusing", [] { return nullptr; } );
    loadTopology( R"([ { "type": "I2C", "ham": "KavraSmbus", "id": 1,
        "devices": [ { "did": 100, "driver": "PCA9548", "address": { "address": 112 } } ],
        "muxes": [ { "did": 100, "busses": [ { "id": 4, "devices": [ { "did": 7 } ] } ] } ] } ])" );
    EXPECT_EQ( nullptr, create( text( "Refusing", 7, R"("provideHam": 1)" ) ) );
    EXPECT_NE( nullptr, factoryHam );
    EXPECT_TRUE( isEntered( 100 ) ); // the mux stays, its channel has gone
    EXPECT_FALSE( isEntered( 7 ) );
}

TEST_F( HardwareDeviceTest, SimulatedAccessMethodGoesWithTheDeviceThatTheFactoryRefuses ) {
    driver( "Refusing", [] { return nullptr; } );
    simulate();
    boardWithDevice7();
    create( text( "Probe", 70, R"("provideHam": 0)" ) ); // decides
    EXPECT_EQ( nullptr, create( text( "Refusing", 7, R"("provideHam": 1)" ) ) );
    EXPECT_TRUE( host().traced( 0, "creating SimHam HAM using topology information" ) );
    EXPECT_FALSE( isEntered( 7 ) );
}

TEST_F( HardwareDeviceTest, GivenAccessMethodIsUsed ) {
    EXPECT_EQ( probe, createWith( &ham_, text( "Probe", 7, R"("provideHam": 1)" ) ) );
    EXPECT_EQ( &ham_, factoryHam );
    EXPECT_EQ( &ham_, probe->ham() );
    EXPECT_FALSE( host().traced( 0, "creating Ham" ) );
}

TEST_F( HardwareDeviceTest, ReusedDeviceKeepsItsAccessMethod ) {
    NotingHam other;
    HardwareDevice *first = createWith( &ham_, text( "Probe", 7 ) );
    EXPECT_EQ( first, createWith( &other, text( "Probe", 7 ) ) );
    EXPECT_EQ( &ham_, first->ham() );
    EXPECT_EQ( Strings(), other.calls );
}

TEST_F( HardwareDeviceTest, ReusedDeviceGetsNoAccessMethodLater ) {
    boardWithDevice7();
    create( text( "Probe", 7 ) );
    create( text( "Probe", 7, R"("provideHam": 1)" ) );
    EXPECT_EQ( nullptr, probe->ham() );
    EXPECT_FALSE( host().traced( 0, "creating Ham" ) );
}

TEST_F( HardwareDeviceTest, AccessMethodGetsTheNamesBeforeTheTable ) {
    createWith( &ham_, text( "Probe", 7 ) );
    EXPECT_EQ( ( Strings{ "setDriverName(Probe, )", "setExpected" } ), ham_.calls );
    EXPECT_EQ( &probe->values, ham_.expected );
}

TEST_F( HardwareDeviceTest, DeviceIsInitialisedOnceWithItsAccessMethod ) {
    createWith( &ham_, text( "Probe", 7 ) );
    EXPECT_EQ( 1, probe->initCount );
    EXPECT_EQ( &ham_, probe->hamAtInit );
}

TEST_F( HardwareDeviceTest, DeviceIsEnteredAfterItsInitialisation ) {
    bool traced = true;
    driver( "Probe", [&] {
        probe = new Probe;
        probe->duringInit = [&] { traced = host().traced( 0, "Probe device created" ); };
        return probe;
    } );
    create( text( "Probe", 7 ) );
    EXPECT_FALSE( traced );
    EXPECT_FALSE( probe->enteredAtInit );
    EXPECT_TRUE( isEntered( 7 ) );
}

TEST_F( HardwareDeviceTest, DeviceReplacesOneThatAppearedMeanwhile ) {
    Probe meanwhile;
    driver( "Probe", [&] {
        probe = new Probe;
        probe->duringInit = [&] { DeviceBase::devices[7] = &meanwhile; };
        return probe;
    } );
    create( text( "Probe", 7 ) );
    EXPECT_EQ( probe, DeviceBase::devices.at( 7 ) );
}

TEST_F( HardwareDeviceTest, DriverWithoutATablePublishesTheSharedEmptyOne ) {
    driver( "Plain", [] { return new HardwareDevice; } );
    HardwareDevice *device = createWith( &ham_, text( "Plain", 7 ) );
    EXPECT_EQ( &HardwareDevice::emptyExpectedValues, &device->expectedValues() );
    EXPECT_EQ( &HardwareDevice::emptyExpectedValues, ham_.expected );
    EXPECT_TRUE( HardwareDevice::emptyExpectedValues.empty() );
}

TEST_F( HardwareDeviceTest, EveryDeviceOffersRegisterGpios ) {
    create(
        text( "Probe", 7, R"("provideHam": 0, "driverArgs": { "register": 1, "bitpos": 2 })" ) );
    EXPECT_NE( nullptr,
               dynamic_cast<Component::LogicalDevice::RegGpio *>( probe->newGpio( args ) ) );
}

// Simulation names a file after the device: only there the text is read once more.

TEST_F( HardwareDeviceTest, SimulatedAccessMethodGetsTheDevicesName ) {
    simulate();
    createWith( &ham_, text( "Probe", 7, named ) );
    EXPECT_EQ( ( Strings{ "setDriverName(Probe, board-temp)", "setExpected" } ), ham_.calls );
}

TEST_F( HardwareDeviceTest, NameIsEmptyWithoutSimulation ) {
    createWith( &ham_, text( "Probe", 7, named ) );
    EXPECT_EQ( "setDriverName(Probe, )", ham_.calls.front() );
}

TEST_F( HardwareDeviceTest, TextIsNotReadAgainWithoutSimulation ) {
    ASSERT_TRUE( args.parseJSON( text( "Probe", 7 ).c_str() ) );
    args.json = "no json any more";
    EXPECT_NE( nullptr, HardwareDevice::create( args, &ham_ ) );
    EXPECT_EQ( "setDriverName(Probe, )", ham_.calls.front() );
}

TEST_F( HardwareDeviceTest, SimulatedDeviceMayHaveNoName ) {
    simulate();
    createWith( &ham_, text( "Probe", 7 ) );
    EXPECT_EQ( "setDriverName(Probe, )", ham_.calls.front() );
}

// A topology device's own arguments, as a proxy found by its bus label has them.
TEST_F( HardwareDeviceTest, SimulatedDeviceWithoutATextHasNoName ) {
    simulate();
    rapidjson::Document document;
    document.Parse( text( "Probe", 7, named ).c_str() );
    args = *Drivers::DriverArgs::fromJSON( document );
    EXPECT_EQ( HardwareDevice::create( args, &ham_ ), probe );
    EXPECT_EQ( "setDriverName(Probe, )", ham_.calls.front() );
}

TEST_F( HardwareDeviceTest, SimulationIsDecidedByTheFirstDevice ) {
    EXPECT_EQ( -1, Utils::isInSimulation );
    createWith( &ham_, text( "Probe", 7, named ) );
    EXPECT_EQ( 0, Utils::isInSimulation );
    simulate();
    createWith( &ham_, text( "Probe", 8, named ) );
    EXPECT_EQ( "setDriverName(Probe, )", ham_.calls.at( 2 ) );
}

TEST_F( HardwareDeviceTest, SimulationStaysOnOnceDecided ) {
    simulate();
    createWith( &ham_, text( "Probe", 7, named ) );
    EXPECT_EQ( 1, Utils::isInSimulation );
    unsetenv( "SIMULATION_VMID" );
    createWith( &ham_, text( "Probe", 8, named ) );
    EXPECT_EQ( "setDriverName(Probe, board-temp)", ham_.calls.at( 2 ) );
}

TEST_F( HardwareDeviceTest, FactoryThatRefusesLeavesSimulationUndecided ) {
    simulate();
    EXPECT_EQ( nullptr, createWith( &ham_, text( "Nobody", 7 ) ) );
    EXPECT_EQ( -1, Utils::isInSimulation );
    EXPECT_EQ( Strings(), ham_.calls );
}

using HardwareDeviceDeathTest = HardwareDeviceTest;

TEST_F( HardwareDeviceDeathTest, NameThatIsNoTextStopsInSimulation ) {
    simulate();
    EXPECT_DEATH( createWith( &ham_, text( "Probe", 7, R"("name": 5)" ) ),
                  "Assertion `IsString\\(\\)'" );
}

TEST_F( HardwareDeviceDeathTest, NameThatIsNoTextStopsASimulatedDeviceWithoutAccessMethod ) {
    simulate();
    EXPECT_DEATH( createWith( nullptr, text( "Probe", 7, R"("provideHam": 0, "name": null)" ) ),
                  "Assertion `IsString\\(\\)'" );
}

TEST_F( HardwareDeviceTest, NameThatIsNoTextGoesUnnoticedWithoutSimulation ) {
    EXPECT_NE( nullptr, createWith( &ham_, text( "Probe", 7, R"("name": 5)" ) ) );
}

} // namespace
