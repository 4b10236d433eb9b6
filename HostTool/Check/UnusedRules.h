#pragma once

#include "HostTool/Check/BoardTree.h"
#include "HostTool/Check/EmulatedMap.h"

namespace HostTool::Check {

/// What no device that was added needs. To be called when all were.
/// @param board null: there is no emulation document
void checkUnused( const BoardTree &tree, const EmulatedMap *board, Findings &findings );

} // namespace HostTool::Check
