#include "KavraGeneric/Drivers/Drivers.h"
#include "KavraGeneric/Topology/Topology.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <new>

using namespace Topology;

namespace {

int allocations = 0;

/// How many allocations it takes to build a node from its entry.
template <typename Built>
int allocationsOf( const char *entry ) {
    rapidjson::Document document;
    document.Parse( entry );
    allocations = 0;
    const auto node = Built::fromJSON( static_cast<const rapidjson::Value &>( document ) );
    return allocations;
}

} // namespace

// The library's allocations come here as well, as in any program that replaces these.
void *operator new( size_t size ) {
    ++allocations;
    if ( void *memory = std::malloc( size ) ) {
        return memory;
    }
    throw std::bad_alloc();
}
void operator delete( void *memory ) noexcept {
    std::free( memory );
}
void operator delete( void *memory, size_t ) noexcept {
    std::free( memory );
}

TEST( AllocationTest, NodeAndItsCountersShareOneAllocation ) {
    EXPECT_EQ( 1, allocationsOf<::Topology::Component>( R"({"uid":1})" ) );
    EXPECT_EQ( 1, allocationsOf<Device>( R"({"did":1})" ) );
    EXPECT_EQ( 1, allocationsOf<Mux>( R"({"did":1})" ) );
    EXPECT_EQ( 1, allocationsOf<Bus>( R"({"id":1})" ) );
    EXPECT_EQ( 1, allocationsOf<Accelerator>( R"({"id":1})" ) );
    EXPECT_EQ( 1, allocationsOf<SCD>( R"({"pci":1})" ) );
    EXPECT_EQ( 1, allocationsOf<Celestica>( "{}" ) );
    EXPECT_EQ( 1, allocationsOf<LinuxFs>( "{}" ) );
    EXPECT_EQ( 1, allocationsOf<I2C>( R"({"id":1})" ) );
    EXPECT_EQ( 1, allocationsOf<IOPort>( R"({"id":1})" ) );
    EXPECT_EQ( 1, allocationsOf<PLM>( R"({"id":1})" ) );
    EXPECT_EQ( 1, allocationsOf<SccSpi>( R"({"id":1})" ) );
    EXPECT_EQ( 1, allocationsOf<FbDomFpga>( R"({"id":1,"pci":1})" ) );
}

TEST( AllocationTest, ArgumentsAndTheirCountersShareOneAllocation ) {
    EXPECT_EQ( 1, allocationsOf<Drivers::DriverArgs>(
                      R"({"did":1,"driver":null,"address":{"address":1}})" ) );
}
