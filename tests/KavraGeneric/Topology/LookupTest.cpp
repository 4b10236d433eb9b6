#include "KavraGeneric/Topology/Lookup.h"

#include "tests/KavraGeneric/Topology/DescribeTopology.h"
#include "tests/support/LibraryFixture.h"
#include "tests/support/Traces.h"

using namespace Topology;

namespace {

// Every node of the tree has its class as its label.
constexpr const char *labelled = R"([
    {"type":"SCD","ham":"h","pci":1,"label":"SCD","accelerators":[
        {"id":1,"label":"Accelerator","busses":[
            {"id":2,"label":"Bus","devices":[
                {"did":3,"label":"Device","components":[{"uid":4,"label":"Component"}]}],
             "muxes":[{"did":5,"label":"Mux","busses":[{"id":6,"label":"Channel"}]}]}]}]},
    {"type":"Celestica","ham":"h","label":"Celestica"},
    {"type":"LinuxFs","ham":"h","label":"LinuxFs"},
    {"type":"I2C","ham":"h","id":11,"label":"I2C"},
    {"type":"IOPort","ham":"h","id":12,"label":"IOPort"},
    {"type":"PLM","ham":"h","id":13,"label":"PLM"},
    {"type":"SccSpi","ham":"h","id":14,"label":"SccSpi"},
    {"type":"FbDomFpga","ham":"h","id":15,"pci":1,"label":"FbDomFpga"}])";

struct LabelCase {
    const char *label;
    const char *node;
    bool isDevice;
    bool isBus;
};

void PrintTo( const LabelCase &each, std::ostream *stream ) {
    *stream << each.label;
}

const LabelCase labels[] = {
    { "SCD", "SCD", false, false },
    { "Accelerator", "accelerator 1", false, false },
    { "Bus", "bus 2", false, true },
    { "Device", "device 3", true, false },
    { "Component", "component 4", false, false },
    { "Mux", "mux 5", false, false },
    { "Channel", "bus 6", false, true },
    { "Celestica", "Celestica", false, false },
    { "LinuxFs", "LinuxFs", false, false },
    { "I2C", "I2C", false, true },
    { "IOPort", "IOPort", false, true },
    { "PLM", "PLM", false, true },
    { "SccSpi", "SccSpi", false, true },
    { "FbDomFpga", "FbDomFpga", false, true },
};

class LabelLookupTest : public LibraryFixture, public testing::WithParamInterface<LabelCase> {
  protected:
    void SetUp() override { loadTopology( labelled ); }
};

class LookupTest : public LibraryFixture {};

} // namespace

TEST_P( LabelLookupTest, FindsTheNode ) {
    const Node *node = getNodeByLabel( GetParam().label );
    ASSERT_NE( nullptr, node );
    EXPECT_EQ( GetParam().node, nameOf( *node ) );
}

TEST_P( LabelLookupTest, FindsADeviceOnlyWhereThereIsOne ) {
    const Device *device = getDeviceByLabel( GetParam().label );
    ASSERT_EQ( GetParam().isDevice, device != nullptr );
    EXPECT_EQ( device, dynamic_cast<Device *>( getNodeByLabel( GetParam().label ) ) );
}

TEST_P( LabelLookupTest, FindsABusOnlyWhereThereIsOne ) {
    const Bus *bus = getBusByLabel( GetParam().label );
    ASSERT_EQ( GetParam().isBus, bus != nullptr );
    EXPECT_EQ( bus, dynamic_cast<Bus *>( getNodeByLabel( GetParam().label ) ) );
}

INSTANTIATE_TEST_SUITE_P( Labels, LabelLookupTest, testing::ValuesIn( labels ),
                          []( const auto &each ) { return std::string( each.param.label ); } );

TEST_F( LookupTest, BusMediumIsFoundAsItsBusPart ) {
    loadTopology( labelled );
    EXPECT_EQ( 11U, getBusByLabel( "I2C" )->id );
    EXPECT_EQ( 12U, getBusByLabel( "IOPort" )->id );
    EXPECT_EQ( 13U, getBusByLabel( "PLM" )->id );
    EXPECT_EQ( 14U, getBusByLabel( "SccSpi" )->id );
    EXPECT_EQ( 15U, getBusByLabel( "FbDomFpga" )->id );
}

TEST_F( LookupTest, LabelsMatchExactly ) {
    loadTopology( labelled );
    for ( const char *label :
          { "", "device", "DEVICE", "Device ", " Device", "Devic", "Devices" } ) {
        SCOPED_TRACE( label );
        EXPECT_EQ( nullptr, getNodeByLabel( label ) );
        EXPECT_EQ( nullptr, getDeviceByLabel( label ) );
        EXPECT_EQ( nullptr, getBusByLabel( label ) );
    }
}

TEST_F( LookupTest, LabelsAreSearchedWithoutATrace ) {
    loadTopology( labelled );
    getNodeByLabel( "Device" );
    getDeviceByLabel( "nothing" );
    getBusByLabel( "Device" );
    EXPECT_EQ( "", tracesOfLibrary() );
}

TEST_F( LookupTest, NoLabelIsFoundBeforeTheFirstLoad ) {
    EXPECT_EQ( nullptr, getNodeByLabel( "Device" ) );
    EXPECT_EQ( nullptr, getDeviceByLabel( "Device" ) );
    EXPECT_EQ( nullptr, getBusByLabel( "Bus" ) );
}

TEST_F( LookupTest, DeviceIsFoundByItsNumber ) {
    loadTopology( labelled );
    EXPECT_EQ( getDeviceByLabel( "Device" ), findDevice( 3 ) );
    EXPECT_EQ( "trace 2: Device 3 found in topology\n", tracesOfLibrary() );
}

TEST_F( LookupTest, LargestNumberIsTracedUnsigned ) {
    loadTopology( R"([{"type":"LinuxFs","ham":"h","devices":[{"did":4294967295}]}])" );
    EXPECT_NE( nullptr, findDevice( 4294967295 ) );
    EXPECT_TRUE( host().traced( 2, "Device 4294967295 found in topology" ) );
}

TEST_F( LookupTest, OtherNumbersThanADevicesAreNotFound ) {
    loadTopology( labelled );
    for ( const unsigned did : { 0U, 1U, 2U, 4U, 5U, 6U, 11U } ) {
        EXPECT_EQ( nullptr, findDevice( did ) ) << did;
    }
    EXPECT_EQ( "", tracesOfLibrary() );
}

TEST_F( LookupTest, LowerBusWinsWhateverTheDocumentSays ) {
    loadTopology( R"([{"type":"SCD","ham":"h","pci":1,"accelerators":[{"id":0,"busses":[
        {"id":2,"devices":[{"did":7,"label":"on 2"}]},
        {"id":1,"devices":[{"did":7,"label":"on 1"}]}]}]}])" );
    EXPECT_EQ( getDeviceByLabel( "on 1" ), findDevice( 7 ) );
    EXPECT_EQ( "trace 2: Device 7 found in topology\n", tracesOfLibrary() );
}

TEST_F( LookupTest, DeviceOnTheBusWinsOverOneBehindAMux ) {
    loadTopology( R"([{"type":"PLM","ham":"h","id":1,
        "muxes":[{"did":9,"busses":[{"id":1,"devices":[{"did":7,"label":"behind"}]}]}],
        "devices":[{"did":7,"label":"before"}]}])" );
    EXPECT_EQ( getDeviceByLabel( "before" ), findDevice( 7 ) );
}

TEST_F( LookupTest, EarlierRootWins ) {
    loadTopology( R"([{"type":"LinuxFs","ham":"h","devices":[{"did":7,"label":"first"}]},
                      {"type":"PLM","ham":"h","id":1,"devices":[{"did":7,"label":"second"}]}])" );
    EXPECT_EQ( getDeviceByLabel( "first" ), findDevice( 7 ) );
}

TEST_F( LookupTest, SearchEndsItsWalkAtTheDevice ) {
    loadTopology( labelled );
    SearchDeviceVisitor visitor( 3 );
    EXPECT_FALSE( visitor.found );
    EXPECT_EQ( nullptr, visitor.device );
    EXPECT_FALSE( _topology->accept( &visitor ) );
    EXPECT_TRUE( visitor.found );
    EXPECT_EQ( getDeviceByLabel( "Device" ), visitor.device );
}

TEST_F( LookupTest, SearchInVainWalksToTheEnd ) {
    loadTopology( labelled );
    SearchDeviceVisitor visitor( 99 );
    EXPECT_TRUE( _topology->accept( &visitor ) );
    EXPECT_FALSE( visitor.found );
    EXPECT_EQ( nullptr, visitor.device );
}

TEST_F( LookupTest, SearchNeedsATopology ) {
    GTEST_FLAG_SET( death_test_style, "threadsafe" );
    EXPECT_DEATH( findDevice( 1 ), "Assertion `_topology' failed" );
}

TEST( DeviceObjectTest, OpeningBraceComesFirst ) {
    EXPECT_TRUE( isDeviceObject( "{" ) );
    EXPECT_TRUE( isDeviceObject( R"({"did":1})" ) );
    EXPECT_FALSE( isDeviceObject( "" ) );
    EXPECT_FALSE( isDeviceObject( " {" ) );
    EXPECT_FALSE( isDeviceObject( "fan-bus" ) );
    EXPECT_FALSE( isDeviceObject( "[{" ) );
}
