#include "KavraGeneric/Ham/Simulation.h"

#include <cstdlib>

namespace Utils {

int isInSimulation = -1;

bool simulationIsOn() {
    if ( isInSimulation == -1 ) {
        isInSimulation = std::getenv( "SIMULATION_VMID" ) ? 1 : 0;
    }
    return isInSimulation == 1;
}

} // namespace Utils
