#include "tests/support/LibraryFixture.h"

#include "KavraGeneric/Components/DeviceBase.h"
#include "KavraGeneric/Components/Led.h"
#include "KavraGeneric/Ham/Simulation.h"
#include "KavraGeneric/Library.h"
#include "KavraGeneric/Topology/Loader.h"
#include "KavraGeneric/Topology/Topology.h"

#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <utility>

// What the library makes lives as long as the process, and a test forgets it halfway.
extern "C" const char *__asan_default_options() {
    return "detect_leaks=0";
}

namespace {

struct Blinking : Component::LogicalDevice::Led {
    static void reset() {
        blinkTimer_ = nullptr;
        blinkStatus_ = false;
        notifyList_.clear();
    }
};

} // namespace

LibraryFixture::LibraryFixture() {
    GTEST_FLAG_SET( death_test_style, "threadsafe" );
    resetLibrary();
}

LibraryFixture::~LibraryFixture() {
    resetLibrary();
    Drivers::drivers = drivers_;
    Ham::hams = hams_;
}

void LibraryFixture::resetLibrary() {
    delete std::exchange( _plSock, nullptr );
    delete std::exchange( Topology::_topology, nullptr );
    Topology::_topology_index.clear();
    Topology::_topology_json.clear();
    Component::DeviceBase::devices.clear();
    Blinking::reset();
    ::unsetenv( "SIMULATION_VMID" );
    Utils::isInSimulation = -1;
    FakeHost::get().reset();
}

void LibraryFixture::connect() {
    ASSERT_EQ( PL_STATUS_OK, plSockInit( "LibraryFixture", 1 ) );
    host().lines.clear();
}

void LibraryFixture::loadTopology( const std::string &document ) {
    ASSERT_EQ( PL_STATUS_OK, Topology::loadTopology( document.c_str() ) );
    host().lines.clear();
}

void LibraryFixture::simulate() {
    ::setenv( "SIMULATION_VMID", "", 1 );
}

void LibraryFixture::tellTracesWhenDying() {
    static void ( *before )( int ) = std::signal( SIGABRT, []( int number ) {
        for ( const FakeHost::Line &line : host().lines ) {
            std::fprintf( stderr, "%d %s\n", line.level, line.text.c_str() );
        }
        if ( before != SIG_DFL ) {
            before( number ); // a coverage build writes its counters
        }
    } );
}
