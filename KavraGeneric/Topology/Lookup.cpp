#include "KavraGeneric/Topology/Lookup.h"

#include "KavraGeneric/HostServices.h"
#include "KavraGeneric/Topology/Topology.h"

namespace Topology {

Node *getNodeByLabel( const char *label ) {
    const auto entry = _topology_index.find( label );
    return entry == _topology_index.end() ? nullptr : entry->second.get();
}

Device *getDeviceByLabel( const char *label ) {
    return dynamic_cast<Device *>( getNodeByLabel( label ) );
}

Bus *getBusByLabel( const char *label ) {
    return dynamic_cast<Bus *>( getNodeByLabel( label ) );
}

const Device *findDevice( unsigned int did ) {
    assert( _topology );
    SearchDeviceVisitor visitor( did );
    _topology->accept( &visitor );
    return visitor.device;
}

bool isDeviceObject( const char *text ) {
    return text[0] == '{';
}

bool SearchDeviceVisitor::visit( const Device *candidate ) {
    if ( candidate->did != did ) {
        return true;
    }
    pl_trace( 2, "Device %u found in topology", did );
    device = candidate;
    found = true;
    return false;
}

} // namespace Topology
