#pragma once

#include <string>

namespace HostTool::Metrics {

/// Refuses a name that the node exporter would not read.
/// @throw Failure (badInput)
void checkTextFileName( const std::string &path );

} // namespace HostTool::Metrics
