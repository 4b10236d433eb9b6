// The walk: how each node offers a visitor its children and then itself.
#include "KavraGeneric/Topology/Topology.h"

namespace Topology {

Topology *_topology = nullptr;
std::map<std::string, std::shared_ptr<Node>> _topology_index;
std::string _topology_json;

namespace {

bool acceptAll( const auto &children, TopologyVisitor *visitor ) {
    for ( const auto &child : children ) {
        if ( !child->accept( visitor ) ) {
            return false;
        }
    }
    return true;
}

bool acceptAllById( const auto &children, TopologyVisitor *visitor ) {
    for ( const auto &[id, child] : children ) {
        if ( !child->accept( visitor ) ) {
            return false;
        }
    }
    return true;
}

// A node is visited also when its children ended the walk: that is how a searching visitor learns
// the path to the root. The result of such a visit no longer counts.
bool visitAfter( bool childrenDone, const auto *node, TopologyVisitor *visitor ) {
    const bool visited = visitor->visit( node );
    return childrenDone && visited;
}

} // namespace

bool Component::accept( TopologyVisitor *visitor ) const {
    return visitor->visit( this );
}

bool Device::accept( TopologyVisitor *visitor ) const {
    return visitAfter( acceptAll( components, visitor ), this, visitor );
}

bool Bus::accept( TopologyVisitor *visitor ) const {
    const bool done = acceptAll( devices, visitor ) && acceptAll( muxes, visitor );
    return visitAfter( done, this, visitor );
}

bool Mux::accept( TopologyVisitor *visitor ) const {
    return visitAfter( acceptAllById( busses, visitor ), this, visitor );
}

bool Accelerator::accept( TopologyVisitor *visitor ) const {
    return visitAfter( acceptAllById( busses, visitor ), this, visitor );
}

bool SCD::accept( TopologyVisitor *visitor ) const {
    return visitAfter( acceptAllById( accelerators, visitor ), this, visitor );
}

bool Celestica::accept( TopologyVisitor *visitor ) const {
    return visitAfter( acceptAllById( accelerators, visitor ), this, visitor );
}

bool LinuxFs::accept( TopologyVisitor *visitor ) const {
    return visitAfter( acceptAll( devices, visitor ), this, visitor );
}

bool I2C::accept( TopologyVisitor *visitor ) const {
    return visitAfter( Bus::accept( visitor ), this, visitor );
}

bool IOPort::accept( TopologyVisitor *visitor ) const {
    return visitAfter( Bus::accept( visitor ), this, visitor );
}

bool PLM::accept( TopologyVisitor *visitor ) const {
    return visitAfter( Bus::accept( visitor ), this, visitor );
}

bool SccSpi::accept( TopologyVisitor *visitor ) const {
    return visitAfter( Bus::accept( visitor ), this, visitor );
}

bool FbDomFpga::accept( TopologyVisitor *visitor ) const {
    return visitAfter( Bus::accept( visitor ), this, visitor );
}

bool Topology::accept( TopologyVisitor *visitor ) const {
    return visitAfter( acceptAll( roots, visitor ), this, visitor );
}

} // namespace Topology
