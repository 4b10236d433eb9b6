#include "tests/faults/ForgetLibrary.h"

#include "KavraGeneric/Components/DeviceBase.h"
#include "KavraGeneric/Components/Led.h"
#include "KavraGeneric/Ham/Simulation.h"
#include "KavraGeneric/Library.h"
#include "KavraGeneric/Topology/Topology.h"
#include "tests/faults/Host.h"

#include <cstdlib>
#include <utility>

namespace {

struct Lamps : Component::LogicalDevice::Led {
    static void forget() {
        blinkTimer_ = nullptr;
        notifyList_.clear();
    }
};

} // namespace

void forgetLibrary() {
    Lamps::forget();
    delete std::exchange( _plSock, nullptr );
    delete std::exchange( Topology::_topology, nullptr );
    Topology::_topology_index.clear();
    Topology::_topology_json.clear();
    Component::DeviceBase::devices.clear();
    Utils::isInSimulation = -1;
    unsetenv( "SIMULATION_VMID" );
    Host::forgetTimers();
}

bool hasLabelsOfNoTree() {
    return Topology::_topology == nullptr && !Topology::_topology_index.empty();
}
