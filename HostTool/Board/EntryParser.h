#pragma once

#include "HostTool/Board/Documents.h"

#include <vector>

namespace HostTool {

/// Reads the entries of a devices.json, in its order.
/// @throw Failure (badInput) naming file, line, entry and key for whatever has the wrong shape.
std::vector<Entry> parseEntries( const JsonFile &file );

} // namespace HostTool
