#pragma once

#include "HostTool/Host/Devices.h"

#include <string>
#include <vector>

namespace HostTool {

/// What "kavractl show" prints of devices that were read: a table a class.
/// @param withDescriptions also what parts are described by, in the platform's own language
std::string showAsText( const std::vector<Device> &devices, bool coloured, bool withDescriptions );

/// The same as one JSON document with stable keys; a reading that failed is null with a reason.
std::string showAsJson( const std::vector<Device> &devices );

} // namespace HostTool
