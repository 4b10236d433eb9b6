#pragma once

#include "HostTool/Explain/Rates.h"
#include "HostTool/Explain/Steps.h"
#include "HostTool/Explain/Wiring.h"

#include <string>
#include <vector>

namespace HostTool::Explain {

/// A block a device, in it a block a step, in it a line a request.
std::string stepsAsText( const std::vector<DeviceSteps> &devices, const Wiring &wiring );
std::string stepsAsJson( const std::vector<DeviceSteps> &devices, const Wiring &wiring );

/// The busses, and for each the devices that use it.
std::string ratesAsText( const std::vector<DeviceSteps> &devices, const Rates &rates,
                         const Wiring &wiring, bool coloured );
std::string ratesAsJson( const std::vector<DeviceSteps> &devices, const Rates &rates,
                         const Wiring &wiring );

} // namespace HostTool::Explain
