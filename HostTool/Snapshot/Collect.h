#pragma once

#include "HostTool/Host/Devices.h"
#include "HostTool/Snapshot/BoardState.h"

#include <vector>

namespace HostTool::Snapshot {

/// Devices that were read, as a snapshot keeps them.
/// @param now what ages are reckoned from
std::vector<DeviceState> collect( const Board &board, const std::vector<Device> &devices,
                                  Moment now );

} // namespace HostTool::Snapshot
