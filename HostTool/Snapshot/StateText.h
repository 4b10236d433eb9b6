#pragma once

#include "HostTool/Snapshot/BoardState.h"

#include <string>

namespace HostTool::Snapshot {

/// The file: one JSON document, a line a value, keys in a fixed order.
std::string textOf( const BoardState &board );

} // namespace HostTool::Snapshot
