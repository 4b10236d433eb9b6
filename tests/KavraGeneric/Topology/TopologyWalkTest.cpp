#include "tests/KavraGeneric/Topology/WalkRecorder.h"
#include "tests/support/LibraryFixture.h"

using namespace Topology;

namespace {

struct WalkCase {
    const char *name;
    std::string document;
    std::set<std::string> stopAt;
    bool result;
    const char *walk;
};

void PrintTo( const WalkCase &each, std::ostream *stream ) {
    *stream << each.name;
}

class TopologyWalkTest : public LibraryFixture, public testing::WithParamInterface<WalkCase> {};

// Two accelerators of two busses each, and a root behind them.
const std::string scd = R"([{"type":"SCD","ham":"h","pci":1,"accelerators":[
    {"id":1,"busses":[{"id":5,"devices":[{"did":15}]}]},
    {"id":0,"busses":[{"id":4,"devices":[{"did":4}]},{"id":3,"devices":[{"did":3},{"did":33}]}]}]},
    {"type":"LinuxFs","ham":"h"}])";
const std::string celestica = R"([{"type":"Celestica","ham":"h","accelerators":[
    {"id":1,"busses":[{"id":5,"devices":[{"did":15}]}]},
    {"id":0,"busses":[{"id":4,"devices":[{"did":4}]},{"id":3,"devices":[{"did":3},{"did":33}]}]}]},
    {"type":"LinuxFs","ham":"h"}])";

// All that a bus can hold. The muxes stand before the devices in the text.
const std::string fullBus = R"([{"type":"PLM","ham":"h","id":1,
    "muxes":[
        {"did":70,"busses":[{"id":4,"devices":[{"did":74}]},{"id":2,"devices":[{"did":72}]}]},
        {"did":60}],
    "devices":[{"did":9,"components":[{"uid":2},{"uid":1}]},{"did":8}]}])";

const std::string twoDevices = R"([{"type":"LinuxFs","ham":"h","devices":[{"did":2},{"did":1}]}])";

const WalkCase cases[] = {
    { "EmptyTopology", "[]", {}, true, "Topology" },
    { "BusMediumIsVisitedAsBusThenAsItself",
      R"([{"type":"I2C","ham":"h","id":1,"devices":[{"did":12}]}])",
      {},
      true,
      "device 12 | bus 1 | I2C | Topology" },
    { "RootsInDocumentOrder",
      R"([{"type":"PLM","ham":"h","id":3},{"type":"LinuxFs","ham":"h"},
          {"type":"IOPort","ham":"h","id":1}])",
      {},
      true,
      "bus 3 | PLM | LinuxFs | bus 1 | IOPort | Topology" },
    { "DevicesBeforeMuxesAndMuxBussesById",
      fullBus,
      {},
      true,
      "component 2 | component 1 | device 9 | device 8 | device 72 | bus 2 | device 74 | bus 4 | "
      "mux 70 | mux 60 | bus 1 | PLM | Topology" },
    { "MuxBussesById",
      R"([{"type":"PLM","ham":"h","id":0,"muxes":[{"did":7,"busses":[
          {"id":5},{"id":1},{"id":3}]}]}])",
      {},
      true,
      "bus 1 | bus 3 | bus 5 | mux 7 | bus 0 | PLM | Topology" },
    { "AcceleratorBussesById",
      R"([{"type":"SCD","ham":"h","pci":1,"accelerators":[{"id":7,"busses":[
          {"id":5},{"id":1},{"id":3}]}]}])",
      {},
      true,
      "bus 1 | bus 3 | bus 5 | accelerator 7 | SCD | Topology" },
    { "AcceleratorsOfAnScdById",
      scd,
      {},
      true,
      "device 3 | device 33 | bus 3 | device 4 | bus 4 | accelerator 0 | device 15 | bus 5 | "
      "accelerator 1 | SCD | LinuxFs | Topology" },
    { "AcceleratorsOfACelesticaById",
      celestica,
      {},
      true,
      "device 3 | device 33 | bus 3 | device 4 | bus 4 | accelerator 0 | device 15 | bus 5 | "
      "accelerator 1 | Celestica | LinuxFs | Topology" },
    { "LinuxFsDevicesInDocumentOrder",
      twoDevices,
      {},
      true,
      "device 2 | device 1 | LinuxFs | Topology" },

    { "StopAtDeviceVisitsItsAncestorsOnly",
      scd,
      { "device 3" },
      false,
      "device 3 | bus 3 | accelerator 0 | SCD | Topology" },
    { "StopBelowCelesticaVisitsItsAncestorsOnly",
      celestica,
      { "device 3" },
      false,
      "device 3 | bus 3 | accelerator 0 | Celestica | Topology" },
    { "StopAtComponent",
      fullBus,
      { "component 2" },
      false,
      "component 2 | device 9 | bus 1 | PLM | Topology" },
    { "StopBehindMux",
      fullBus,
      { "device 72" },
      false,
      "component 2 | component 1 | device 9 | device 8 | device 72 | bus 2 | mux 70 | bus 1 | PLM "
      "| "
      "Topology" },
    { "StopAtMux",
      R"([{"type":"PLM","ham":"h","id":1,"muxes":[{"did":70},{"did":60}]}])",
      { "mux 70" },
      false,
      "mux 70 | bus 1 | PLM | Topology" },
    { "StopAtBus",
      scd,
      { "bus 3" },
      false,
      "device 3 | device 33 | bus 3 | accelerator 0 | SCD | Topology" },
    { "StopAtAccelerator",
      scd,
      { "accelerator 0" },
      false,
      "device 3 | device 33 | bus 3 | device 4 | bus 4 | accelerator 0 | SCD | Topology" },
    { "StopAtDeviceOfLinuxFs", twoDevices, { "device 2" }, false, "device 2 | LinuxFs | Topology" },
    { "StopAtRootLeavesOutTheNext",
      R"([{"type":"LinuxFs","ham":"h"},{"type":"PLM","ham":"h","id":1}])",
      { "LinuxFs" },
      false,
      "LinuxFs | Topology" },
    { "StopAtTopologyIsTheResult", "[]", { "Topology" }, false, "Topology" },
    { "SecondStopOnTheWayOutChangesNothing",
      twoDevices,
      { "device 2", "LinuxFs" },
      false,
      "device 2 | LinuxFs | Topology" },
};

} // namespace

TEST_P( TopologyWalkTest, VisitsInThisOrder ) {
    loadTopology( GetParam().document );
    WalkRecorder recorder( GetParam().stopAt );
    EXPECT_EQ( GetParam().result, _topology->accept( &recorder ) );
    EXPECT_EQ( GetParam().walk, recorder.line );
}

INSTANTIATE_TEST_SUITE_P( Walks, TopologyWalkTest, testing::ValuesIn( cases ),
                          []( const auto &each ) { return std::string( each.param.name ); } );

namespace {

/// The five media that are one bus each: PCI-attached ones take a "pci", the others ignore it.
class BusMediumWalkTest : public LibraryFixture, public testing::WithParamInterface<const char *> {
  protected:
    std::string name() const { return GetParam(); }

    bool walk( WalkRecorder &recorder ) {
        loadTopology( R"([{"ham":"h","pci":1,"id":1,"devices":[{"did":12},{"did":13}],"type":")" +
                      name() + R"("},{"type":"LinuxFs","ham":"h"}])" );
        return _topology->accept( &recorder );
    }
};

} // namespace

TEST_P( BusMediumWalkTest, IsVisitedTwiceWhenNothingStops ) {
    WalkRecorder recorder;
    EXPECT_TRUE( walk( recorder ) );
    EXPECT_EQ( "device 12 | device 13 | bus 1 | " + name() + " | LinuxFs | Topology",
               recorder.line );
}

TEST_P( BusMediumWalkTest, IsVisitedTwiceOnTheWayOut ) {
    WalkRecorder recorder( { "device 12" } );
    EXPECT_FALSE( walk( recorder ) );
    EXPECT_EQ( "device 12 | bus 1 | " + name() + " | Topology", recorder.line );
}

TEST_P( BusMediumWalkTest, StopAtTheBusPartStillVisitsTheMedium ) {
    WalkRecorder recorder( { "bus 1" } );
    EXPECT_FALSE( walk( recorder ) );
    EXPECT_EQ( "device 12 | device 13 | bus 1 | " + name() + " | Topology", recorder.line );
}

TEST_P( BusMediumWalkTest, StopAtTheMediumItselfEndsTheWalk ) {
    WalkRecorder recorder( { name() } );
    EXPECT_FALSE( walk( recorder ) );
    EXPECT_EQ( "device 12 | device 13 | bus 1 | " + name() + " | Topology", recorder.line );
}

TEST_P( BusMediumWalkTest, BothViewsReachTheSameWalk ) {
    WalkRecorder asMedium, asBus;
    walk( asMedium );
    const MediumNode &medium = *_topology->roots.front();
    asMedium.line.clear();
    EXPECT_TRUE( medium.accept( &asMedium ) );
    EXPECT_TRUE( dynamic_cast<const Bus &>( medium ).accept( &asBus ) );
    EXPECT_EQ( "device 12 | device 13 | bus 1 | " + name(), asMedium.line );
    EXPECT_EQ( asMedium.line, asBus.line );
}

INSTANTIATE_TEST_SUITE_P( Media, BusMediumWalkTest,
                          testing::Values( "I2C", "IOPort", "PLM", "SccSpi", "FbDomFpga" ),
                          []( const auto &each ) { return std::string( each.param ); } );

TEST( TopologyVisitorTest, EveryVisitGoesOnByDefault ) {
    struct : TopologyVisitor {
    } visitor;
    EXPECT_TRUE( visitor.visit( static_cast<::Topology::Component *>( nullptr ) ) );
    EXPECT_TRUE( visitor.visit( static_cast<Device *>( nullptr ) ) );
    EXPECT_TRUE( visitor.visit( static_cast<Mux *>( nullptr ) ) );
    EXPECT_TRUE( visitor.visit( static_cast<Bus *>( nullptr ) ) );
    EXPECT_TRUE( visitor.visit( static_cast<Accelerator *>( nullptr ) ) );
    EXPECT_TRUE( visitor.visit( static_cast<SCD *>( nullptr ) ) );
    EXPECT_TRUE( visitor.visit( static_cast<const I2C *>( nullptr ) ) );
    EXPECT_TRUE( visitor.visit( static_cast<const IOPort *>( nullptr ) ) );
    EXPECT_TRUE( visitor.visit( static_cast<Celestica *>( nullptr ) ) );
    EXPECT_TRUE( visitor.visit( static_cast<const PLM *>( nullptr ) ) );
    EXPECT_TRUE( visitor.visit( static_cast<LinuxFs *>( nullptr ) ) );
    EXPECT_TRUE( visitor.visit( static_cast<const SccSpi *>( nullptr ) ) );
    EXPECT_TRUE( visitor.visit( static_cast<const FbDomFpga *>( nullptr ) ) );
    EXPECT_TRUE( visitor.visit( static_cast<::Topology::Topology *>( nullptr ) ) );
}
