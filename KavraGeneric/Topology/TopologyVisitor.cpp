#include "KavraGeneric/Topology/TopologyVisitor.h"

namespace Topology {

bool TopologyVisitor::visit( const Component * ) {
    return true;
}
bool TopologyVisitor::visit( const Device * ) {
    return true;
}
bool TopologyVisitor::visit( const Mux * ) {
    return true;
}
bool TopologyVisitor::visit( const Bus * ) {
    return true;
}
bool TopologyVisitor::visit( const Accelerator * ) {
    return true;
}
bool TopologyVisitor::visit( const SCD * ) {
    return true;
}
bool TopologyVisitor::visit( const I2C * ) {
    return true;
}
bool TopologyVisitor::visit( const IOPort * ) {
    return true;
}
bool TopologyVisitor::visit( const Celestica * ) {
    return true;
}
bool TopologyVisitor::visit( const PLM * ) {
    return true;
}
bool TopologyVisitor::visit( const LinuxFs * ) {
    return true;
}
bool TopologyVisitor::visit( const SccSpi * ) {
    return true;
}
bool TopologyVisitor::visit( const FbDomFpga * ) {
    return true;
}
bool TopologyVisitor::visit( const Topology * ) {
    return true;
}

} // namespace Topology
