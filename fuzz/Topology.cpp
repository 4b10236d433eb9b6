// The topology document, as a host hands it over.
#include "KavraGeneric/Topology/Topology.h"

#include "fuzz/Contract.h"
#include "fuzz/LibraryState.h"
#include "fuzz/Targets.h"
#include "KavraGeneric/Drivers/Drivers.h"
#include "KavraGeneric/Ham/Ham.h"
#include "KavraGeneric/Topology/Loader.h"
#include "KavraGeneric/Topology/Lookup.h"

#include <string>
#include <vector>

namespace {

struct AllDevices : Topology::TopologyVisitor {
    using TopologyVisitor::visit;
    bool visit( const Topology::Device *device ) override {
        devices.push_back( device );
        return true;
    }
    std::vector<const Topology::Device *> devices;
};

void lookUpLabels() {
    for ( const auto &[label, node] : Topology::_topology_index ) {
        const char *text = label.c_str();
        Topology::getBusByLabel( text );
        Topology::getDeviceByLabel( text );
        Fuzz::require( label.find( '\0' ) != std::string::npos ||
                           Topology::getNodeByLabel( text ) == node.get(),
                       "a label finds its node" );
    }
}

} // namespace

void Fuzz::topology( std::string_view input ) {
    const LibraryState state;
    const std::string text( input );
    underContract( [&] {
        if ( Topology::loadTopology( text.c_str() ) != 0 ) {
            return;
        }
        const Topology::Topology *tree = Topology::_topology;
        require( Topology::loadTopology( text.c_str() ) == 0 && Topology::_topology == tree,
                 "the same text keeps the tree" );
        lookUpLabels();
        AllDevices all;
        tree->accept( &all );
        constexpr size_t enough = 64;
        for ( size_t i = 0; i < all.devices.size() && i < enough; ++i ) {
            const Topology::Device &device = *all.devices[i];
            const Topology::Device *found = Topology::findDevice( device.did );
            require( found && found->did == device.did, "a device is found by its number" );
            if ( device.driverArgs ) {
                freeHam( Ham::createHam( *device.driverArgs ) );
            }
        }
    } );
}
