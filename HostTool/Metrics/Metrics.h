#pragma once

#include "HostTool/Commands.h"

namespace HostTool {

extern const char *const metricsHelp;

/// The metrics command: once to stdout, into a text file, or over HTTP.
ExitCode runMetrics( Task &task );

} // namespace HostTool
