#include "fuzz/LibraryState.h"

#include "fuzz/Contract.h"
#include "fuzz/Host.h"
#include "KavraGeneric/Components/HardwareDevice.h"
#include "KavraGeneric/Components/Led.h"
#include "KavraGeneric/Components/Mux.h"
#include "KavraGeneric/Drivers/Drivers.h"
#include "KavraGeneric/Ham/KavraSmbusHam.h"
#include "KavraGeneric/Ham/SimHam.h"
#include "KavraGeneric/Ham/Simulation.h"
#include "KavraGeneric/Topology/Loader.h"
#include "KavraGeneric/Topology/Topology.h"

#include <map>
#include <utility>
#include <vector>

namespace Fuzz {

namespace {

struct Blinking : Component::LogicalDevice::Led {
    static void reset() {
        blinkTimer_ = nullptr;
        blinkStatus_ = false;
        notifyList_.clear();
    }
};

// Looking a device up may give it a driver, in the topology itself.
std::map<Drivers::DriverArgs *, std::string> driversBefore;

void rememberDrivers() {
    for ( const auto &[label, node] : Topology::_topology_index ) {
        const auto *device = dynamic_cast<Topology::Device *>( node.get() );
        if ( device && device->driverArgs ) {
            driversBefore[device->driverArgs.get()] = device->driverArgs->driver;
        }
    }
}

using Muxes = std::vector<Component::LogicalDevice::Mux *>;
Muxes &muxesOf( Ham::KavraSmbusHam &ham );

// The muxes are private, and what frees them stays inside of the library. An explicit instantiation
// may name any member.
template <Muxes Ham::KavraSmbusHam::*muxes>
struct Reached {
    friend Muxes &muxesOf( Ham::KavraSmbusHam &ham ) { return ham.*muxes; }
};
template struct Reached<&Ham::KavraSmbusHam::muxes_>;

void freeDevices() {
    for ( const auto &[did, device] : std::exchange( Component::DeviceBase::devices, {} ) ) {
        Ham::Ham *ham = device->ham();
        delete device;
        freeHam( ham );
    }
}

} // namespace

void freeHam( Ham::Ham *ham ) {
    if ( auto *served = dynamic_cast<Ham::KavraSmbusHam *>( ham ) ) {
        for ( const Component::LogicalDevice::Mux *mux : muxesOf( *served ) ) {
            delete mux;
        }
        delete served;
    } else {
        delete dynamic_cast<Ham::SimHam *>( ham );
    }
}

LibraryState::LibraryState( Hardware hardware ) : keepsTopology_( false ) {
    forgetTopology();
    Utils::isInSimulation = hardware == Hardware::simulated ? 1 : 0;
}

LibraryState::LibraryState( const std::string &topology, Hardware hardware )
    : keepsTopology_( true ) {
    if ( Topology::_topology_json != topology ) {
        forgetTopology();
        require( Topology::loadTopology( topology.c_str() ) == 0, "the topology loads" );
        rememberDrivers();
    }
    Utils::isInSimulation = hardware == Hardware::simulated ? 1 : 0;
}

LibraryState::~LibraryState() {
    freeDevices();
    Blinking::reset();
    Host::reset();
    if ( keepsTopology_ ) {
        for ( const auto &[args, driver] : driversBefore ) {
            args->driver = driver;
        }
    } else {
        forgetTopology();
    }
}

void LibraryState::forgetTopology() {
    driversBefore.clear();
    delete std::exchange( Topology::_topology, nullptr );
    Topology::_topology_index.clear();
    Topology::_topology_json.clear();
}

} // namespace Fuzz
