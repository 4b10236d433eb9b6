// How the access method of a device is chosen: the search in the topology and what follows it.
#include "KavraGeneric/Drivers/Drivers.h"
#include "KavraGeneric/Ham/Ham.h"
#include "KavraGeneric/Ham/Simulation.h"
#include "KavraGeneric/Topology/Topology.h"
#include "tests/KavraGeneric/Ham/Documents.h"
#include "tests/KavraGeneric/Ham/RecordingHam.h"
#include "tests/support/LibraryFixture.h"

namespace {

using Lines = std::vector<FakeHost::Line>;

constexpr uint32_t none = Drivers::DriverArgs::noComponent;

class CreateHamTest : public LibraryFixture {
  protected:
    CreateHamTest() {
        for ( const char *name : { "Recording", "SimHam" } ) {
            Ham::hams[name] = [this, name]( const auto &, const auto & ) {
                made_ = name;
                return &ham_;
            };
        }
    }

    Ham::Ham *create( uint32_t did, uint32_t uid = none ) {
        Drivers::DriverArgs args;
        args.did = did;
        args.uid = uid;
        return Ham::createHam( args );
    }

    std::vector<std::string> searchTraces( uint32_t did, uint32_t uid = none ) {
        host().reset();
        create( did, uid );
        return host().texts( 2 );
    }

    std::string made_; ///< name of the method whose factory ran
    RecordingHam ham_;
};

std::string busMedium( const std::string &type, const std::string &further = "" ) {
    return Documents::busMedium( type, "Recording", further );
}

std::string acceleratorMedium( const std::string &type ) {
    return Documents::acceleratorMedium( type, "Recording" );
}

TEST_F( CreateHamTest, UsesTheMethodOfTheMedium ) {
    loadTopology( busMedium( "I2C" ) );
    EXPECT_EQ( &ham_, create( 3 ) );
    EXPECT_EQ( "Recording", made_ );
    EXPECT_EQ( "init", ham_.log );
    const std::vector<std::string> steps = {
        "looking for component 4294967295 of device 3 in topology",
        "creating Recording HAM using topology information"
    };
    EXPECT_EQ( steps, host().texts( 0 ) );
}

TEST_F( CreateHamTest, TracesTheSearchBeforeTheCreation ) {
    loadTopology( busMedium( "I2C" ) );
    create( 3 );
    ASSERT_EQ( 8U, host().lines.size() );
    EXPECT_EQ( 0, host().lines[0].level );
    EXPECT_EQ( ( FakeHost::Line{ 2, "Device 3 contain the component" } ), host().lines[1] );
    EXPECT_EQ( ( FakeHost::Line{ 2, "BusId 5" } ), host().lines[2] );
    EXPECT_EQ( ( FakeHost::Line{ 2, "I2C bus 5" } ), host().lines[3] );
    EXPECT_EQ( "creating Recording HAM using topology information", host().lines[4].text );
    EXPECT_EQ( ( FakeHost::Line{ 3, "ham initialisation" } ), host().lines[7] );
}

TEST_F( CreateHamTest, SearchTellsThePathToEachMedium ) {
    const std::string device = "Device 3 contain the component";
    const std::string bus = "BusId 5";
    const struct {
        std::string document;
        std::vector<std::string> traces;
    } media[] = {
        { acceleratorMedium( "SCD" ), { device, bus, "AccelId 9", "SCD 0 00001234" } },
        { acceleratorMedium( "Celestica" ), { device, bus, "AccelId 9", "Celestica" } },
        { busMedium( "I2C" ), { device, bus, "I2C bus 5" } },
        { busMedium( "IOPort" ), { device, bus, "IOPort" } },
        { busMedium( "PLM" ), { device, bus, "PLM" } },
        { busMedium( "SccSpi" ), { device, bus, "SccSpi" } },
        { busMedium( "FbDomFpga", R"("pci":1,)" ), { device, bus, "FbDomFpga" } },
    };
    for ( const auto &[document, traces] : media ) {
        SCOPED_TRACE( document );
        loadTopology( document );
        made_.clear();
        EXPECT_EQ( traces, searchTraces( 3 ) );
        EXPECT_EQ( "Recording", made_ );
    }
}

TEST_F( CreateHamTest, LinuxFsNamesNoMethod ) {
    loadTopology( R"([{"type":"LinuxFs","ham":"Recording","devices":[{"did":3}]}])" );
    EXPECT_EQ( nullptr, create( 3 ) );
    const std::vector<std::string> steps = {
        "looking for component 4294967295 of device 3 in topology",
        "creating  HAM using topology information", "Couldn't find HAM ", "failed to create HAM"
    };
    EXPECT_EQ( steps, host().texts( 0 ) );
    EXPECT_EQ( std::vector<std::string>{ "Device 3 contain the component" }, host().texts( 2 ) );
}

TEST_F( CreateHamTest, UnknownMethodGivesNull ) {
    loadTopology( R"([{"type":"I2C","ham":"Unheard","id":5,"devices":[{"did":3}]}])" );
    EXPECT_EQ( nullptr, create( 3 ) );
    const std::vector<std::string> steps = {
        "looking for component 4294967295 of device 3 in topology",
        "creating Unheard HAM using topology information", "Couldn't find HAM Unheard",
        "failed to create HAM"
    };
    EXPECT_EQ( steps, host().texts( 0 ) );
}

TEST_F( CreateHamTest, SearchTellsTheMuxesOnThePath ) {
    loadTopology( R"([{"type":"I2C","ham":"Recording","id":5,"muxes":[{"did":20,"busses":
        [{"id":1,"devices":[{"did":2}]},{"id":8,"devices":[{"did":3}]}]}]}])" );
    const std::vector<std::string> traces = { "Device 3 contain the component", "BusId 8",
                                              "Mux using device 20", "BusId 5", "I2C bus 5" };
    EXPECT_EQ( traces, searchTraces( 3 ) );
    EXPECT_EQ( "Recording", made_ );
}

TEST_F( CreateHamTest, ComponentIsFoundAnywhereAndTheDeviceIsNotCompared ) {
    loadTopology( busMedium( "I2C" ) );
    const std::vector<std::string> traces = { "Component 7 found in tree",
                                              "Device 3 contain the component", "BusId 5",
                                              "I2C bus 5" };
    EXPECT_EQ( traces, searchTraces( 2, 7 ) );
    EXPECT_EQ( traces, searchTraces( 99, 7 ) );
    EXPECT_EQ( "Recording", made_ );
}

TEST_F( CreateHamTest, DeviceIsNoMatchWhileAComponentIsSought ) {
    loadTopology( busMedium( "I2C" ) );
    EXPECT_EQ( nullptr, create( 3, 8 ) );
    const Lines expected = { { 0, "looking for component 8 of device 3 in topology" },
                             { 0, "could not find component uid 8 in topology" } };
    EXPECT_EQ( expected, host().lines );
}

TEST_F( CreateHamTest, MissingDeviceGivesNull ) {
    loadTopology( busMedium( "I2C" ) );
    EXPECT_EQ( nullptr, create( 4 ) );
    const Lines expected = { { 0, "looking for component 4294967295 of device 4 in topology" },
                             { 0, "could not find component uid -1 in topology" } };
    EXPECT_EQ( expected, host().lines );
    EXPECT_EQ( "", made_ );
}

TEST_F( CreateHamTest, SearchStopsAtTheFirstDevice ) {
    loadTopology( R"([{"type":"I2C","ham":"Recording","id":5,"devices":[{"did":3},{"did":3}]},
                      {"type":"I2C","ham":"Other","id":6,"devices":[{"did":3}]}])" );
    const std::vector<std::string> traces = { "Device 3 contain the component", "BusId 5",
                                              "I2C bus 5" };
    EXPECT_EQ( traces, searchTraces( 3 ) );
    EXPECT_EQ( "Recording", made_ );
}

TEST_F( CreateHamTest, SearchVisitorKeepsTheDeviceAndTheMethod ) {
    loadTopology( busMedium( "I2C" ) );
    Ham::SearchVisitor visitor( 7, 2 );
    EXPECT_FALSE( visitor.found );
    EXPECT_EQ( nullptr, visitor.device );
    EXPECT_FALSE( Topology::_topology->accept( &visitor ) );
    EXPECT_TRUE( visitor.found );
    ASSERT_NE( nullptr, visitor.device );
    EXPECT_EQ( 3U, visitor.device->did );
    EXPECT_EQ( "Recording", visitor.ham );
}

TEST_F( CreateHamTest, PresenceOfTheVariableSelectsSimulation ) {
    for ( const char *value : { "", "0", "vm7" } ) {
        resetLibrary();
        loadTopology( busMedium( "I2C" ) );
        ::setenv( "SIMULATION_VMID", value, 1 );
        EXPECT_EQ( &ham_, create( 3 ) );
        EXPECT_EQ( "SimHam", made_ );
        EXPECT_TRUE( host().traced( 0, "creating SimHam HAM using topology information" ) );
    }
}

TEST_F( CreateHamTest, SimulationIsDecidedOnce ) {
    EXPECT_EQ( -1, Utils::isInSimulation );
    loadTopology( busMedium( "I2C" ) );
    create( 3 );
    EXPECT_EQ( 0, Utils::isInSimulation );
    simulate();
    create( 3 );
    EXPECT_EQ( "Recording", made_ );
}

TEST_F( CreateHamTest, DecidedSimulationStays ) {
    simulate();
    EXPECT_TRUE( Utils::simulationIsOn() );
    EXPECT_EQ( 1, Utils::isInSimulation );
    ::unsetenv( "SIMULATION_VMID" );
    loadTopology( busMedium( "I2C" ) );
    create( 3 );
    EXPECT_EQ( "SimHam", made_ );
}

TEST_F( CreateHamTest, SimulationStillNeedsTheDevice ) {
    simulate();
    loadTopology( busMedium( "I2C" ) );
    EXPECT_EQ( nullptr, create( 4 ) );
    EXPECT_EQ( "", made_ );
}

using CreateHamDeathTest = CreateHamTest;

TEST_F( CreateHamDeathTest, MissingTopologyEndsTheProcess ) {
    EXPECT_DEATH( create( 3 ), "Ham\\.cpp.*Assertion `topology' failed" );
}

} // namespace
