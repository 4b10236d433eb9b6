#pragma once

#include "HostTool/Devices.h"

#include <string>
#include <vector>

namespace HostTool {

/// What "kavractl show" prints of devices that were read: a table a class.
std::string showAsText( const std::vector<Device> &devices, bool coloured );

/// The same as one JSON document with stable keys; a reading that failed is null with a reason.
std::string showAsJson( const std::vector<Device> &devices );

} // namespace HostTool
