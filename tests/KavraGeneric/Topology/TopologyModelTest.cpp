#include "KavraGeneric/Topology/Topology.h"
#include "tests/KavraGeneric/Drivers/DescribeArguments.h"
#include "tests/support/LibraryFixture.h"

#include <bit>
#include <cstring>

using namespace Topology;

namespace {

class TopologyModelTest : public LibraryFixture {};

/// The fields of an address whose bits from first to last are ones and whose others are zero.
std::string fieldsAt( int first, int last ) {
    const uint64_t ones = ( ~uint64_t( 0 ) >> ( 63 - last ) ) & ( ~uint64_t( 0 ) << first );
    return describe( std::bit_cast<AhamAddress>( ones ) );
}

} // namespace

TEST( AhamAddressTest, IsOneWordOf64Bits ) {
    EXPECT_EQ( 8U, sizeof( AhamAddress ) );
}

TEST( AhamAddressTest, FieldsLieAtTheirBits ) {
    EXPECT_EQ( "reg=4294967295", fieldsAt( 0, 31 ) );
    EXPECT_EQ( "address=127", fieldsAt( 32, 38 ) );
    EXPECT_EQ( "bus=127", fieldsAt( 39, 45 ) );
    EXPECT_EQ( "accelerator=127", fieldsAt( 46, 52 ) );
    EXPECT_EQ( "writeNoStopReadCurrent=1", fieldsAt( 53, 53 ) );
    EXPECT_EQ( "busTimeout=7", fieldsAt( 54, 56 ) );
    EXPECT_EQ( "addrSize=3", fieldsAt( 57, 58 ) );
    EXPECT_EQ( "extraDelay=1", fieldsAt( 59, 59 ) );
    EXPECT_EQ( "writeDelay=3", fieldsAt( 60, 61 ) );
    EXPECT_EQ( "readDelay=3", fieldsAt( 62, 63 ) );
}

TEST_F( TopologyModelTest, NothingIsThereBeforeTheFirstLoad ) {
    EXPECT_EQ( nullptr, _topology );
    EXPECT_TRUE( _topology_index.empty() );
    EXPECT_EQ( "", _topology_json );
}

TEST_F( TopologyModelTest, TreeGoesWhenItIsDeleted ) {
    loadTopology( R"([{"type":"SCD","ham":"h","pci":1,"accelerators":[
        {"id":0,"busses":[{"id":1,"devices":[{"did":2,"components":[{"uid":3}]}]}]}]}])" );
    const auto scd = std::weak_ptr( std::dynamic_pointer_cast<SCD>( _topology->roots[0] ) );
    const auto bus = std::weak_ptr( scd.lock()->accelerators.at( 0 )->busses.at( 1 ) );
    const auto component = std::weak_ptr( bus.lock()->devices[0]->components[0] );
    resetLibrary();
    EXPECT_TRUE( scd.expired() );
    EXPECT_TRUE( bus.expired() );
    EXPECT_TRUE( component.expired() );
}

TEST_F( TopologyModelTest, BusMediumGoesThroughItsMediumPart ) {
    loadTopology( R"([{"type":"I2C","ham":"h","id":1,"devices":[{"did":2}]}])" );
    const auto device =
        std::weak_ptr( dynamic_cast<const Bus &>( *_topology->roots[0] ).devices[0] );
    EXPECT_FALSE( device.expired() );
    resetLibrary();
    EXPECT_TRUE( device.expired() );
}

TEST_F( TopologyModelTest, NodeOutlivesTheTreeWhileSomebodyHoldsIt ) {
    loadTopology( R"([{"type":"I2C","ham":"h","id":1,"devices":[{"did":2,"label":"a"}]}])" );
    const auto held = _topology_index.at( "a" );
    loadTopology( "[]" );
    EXPECT_EQ( 2U, dynamic_cast<const Device &>( *held ).did );
}

TEST( TopologyNodeTest, MediumIsTheFirstOfTheTwoParts ) {
    const auto firstIsMedium = []( const auto &node ) {
        const auto *medium = static_cast<const MediumNode *>( &node );
        const auto *bus = static_cast<const Bus *>( &node );
        const auto *whole = static_cast<const void *>( &node );
        return whole == medium && whole < static_cast<const void *>( bus );
    };
    EXPECT_TRUE( firstIsMedium( I2C() ) );
    EXPECT_TRUE( firstIsMedium( IOPort() ) );
    EXPECT_TRUE( firstIsMedium( PLM() ) );
    EXPECT_TRUE( firstIsMedium( SccSpi() ) );
    EXPECT_TRUE( firstIsMedium( FbDomFpga() ) );
}

namespace {

bool inOrder( std::initializer_list<const void *> fields ) {
    return std::is_sorted( fields.begin(), fields.end() );
}

} // namespace

TEST( TopologyNodeTest, FieldsLieInTheirOrder ) {
    const Device device;
    const Bus bus;
    const Mux mux;
    const Accelerator accelerator;
    const SCD scd;
    EXPECT_TRUE( inOrder( { &device, &device.did, &device.driverArgs, &device.components } ) );
    EXPECT_TRUE( inOrder( { &bus, &bus.id, &bus.devices, &bus.muxes } ) );
    EXPECT_TRUE( inOrder( { &mux, &mux.did, &mux.busses } ) );
    EXPECT_TRUE( inOrder( { &accelerator, &accelerator.id, &accelerator.busses } ) );
    EXPECT_TRUE( inOrder( { &scd, &scd.ham, &scd.pci, &scd.accelerators } ) );
}

#ifdef __x86_64__

namespace {

// A pointer to a virtual member function begins with 1 + its offset in the table of functions.
template <typename Method>
ptrdiff_t slotOf( Method method ) {
    ptrdiff_t word = 0;
    static_assert( sizeof method >= sizeof word );
    std::memcpy( &word, &method, sizeof word );
    return ( word - 1 ) / ptrdiff_t( sizeof( void * ) );
}

template <typename VisitedNode>
ptrdiff_t visitSlot() {
    return slotOf<bool ( TopologyVisitor::* )( const VisitedNode * )>( &TopologyVisitor::visit );
}

} // namespace

TEST( TopologyNodeTest, AcceptFollowsTheDestructor ) {
    EXPECT_EQ( 2, slotOf( &Node::accept ) ) << "the destructor takes two slots";
}

TEST( TopologyVisitorTest, VisitsHaveTheirSlots ) {
    EXPECT_EQ( 0, visitSlot<::Topology::Component>() );
    EXPECT_EQ( 1, visitSlot<Device>() );
    EXPECT_EQ( 2, visitSlot<Mux>() );
    EXPECT_EQ( 3, visitSlot<Bus>() );
    EXPECT_EQ( 4, visitSlot<Accelerator>() );
    EXPECT_EQ( 5, visitSlot<SCD>() );
    EXPECT_EQ( 6, visitSlot<I2C>() );
    EXPECT_EQ( 7, visitSlot<IOPort>() );
    EXPECT_EQ( 8, visitSlot<Celestica>() );
    EXPECT_EQ( 9, visitSlot<PLM>() );
    EXPECT_EQ( 10, visitSlot<LinuxFs>() );
    EXPECT_EQ( 11, visitSlot<SccSpi>() );
    EXPECT_EQ( 12, visitSlot<FbDomFpga>() );
    EXPECT_EQ( 13, visitSlot<::Topology::Topology>() );
}

#endif
