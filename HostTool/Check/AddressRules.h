#pragma once

#include "HostTool/Check/BoardTree.h"
#include "HostTool/Check/Rehearsal.h"

namespace HostTool::Check {

/// Chips that claim one address on the same wires, or behind a mux what is taken in front of it.
void checkAddresses( const BoardTree &tree, const Rehearsal &rehearsal, Findings &findings );

} // namespace HostTool::Check
