#pragma once

#include "HostTool/Board/Documents.h"

#include <string>
#include <vector>

namespace HostTool {

/// The board's topology with a raw proxy for each of these chip addresses of a bus, under the label
/// that pl_smbus_add() looks for. What the document declares under such a label already stays.
/// @throw Failure (badInput) when no bus has the label, with the nearest one.
std::string topologyWithProxies( const Board &board, const std::string &bus,
                                 const std::vector<unsigned> &addresses );

} // namespace HostTool
