#pragma once

#include "HostTool/Host/Devices.h"

#include <PlatformLibrary/pl.h>

#include <functional>
#include <string>
#include <vector>

namespace HostTool::Explain {

/// One call of a slot of a device's operation table.
struct Callback {
    std::string name; ///< the slot's, and with what it is called where that matters
    std::function<pl_status()> call;
};

struct Callbacks {
    std::vector<Callback> readings; ///< what a host calls again and again
    /// What tells the device something, and raw accesses: for the end, when nothing is read any
    /// more. A value that can be read is set as it was read last.
    std::vector<Callback> orders;
};

/// All slots that the device, which the library did not refuse, offers; but none that would switch
/// off the power. They may be called as long as the device lives.
Callbacks callbacksOf( const Device &device );

} // namespace HostTool::Explain
