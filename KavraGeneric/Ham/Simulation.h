#pragma once

namespace Utils {

/// -1 until somebody asked, then 1 when the environment has SIMULATION_VMID (with any value), else
/// 0.
extern int isInSimulation;

/// Decides isInSimulation at its first call; later changes of the environment do not count.
bool simulationIsOn();

} // namespace Utils
