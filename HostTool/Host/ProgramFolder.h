#pragma once

#include <string>

namespace HostTool {

/// The folder that the running program lies in; installed files are found from there.
std::string programFolder();

} // namespace HostTool
