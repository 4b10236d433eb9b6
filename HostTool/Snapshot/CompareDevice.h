#pragma once

#include "HostTool/Snapshot/Difference.h"
#include "HostTool/Snapshot/Tolerances.h"

#include <vector>

namespace HostTool::Snapshot {

/// The differences of one device in two snapshots, in no order of importance.
std::vector<Difference> compareDevice( const DeviceState &golden, const DeviceState &now,
                                       const Tolerances &tolerances );

} // namespace HostTool::Snapshot
