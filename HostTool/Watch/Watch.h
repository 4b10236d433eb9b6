#pragma once

#include "HostTool/Commands.h"

namespace HostTool {

/// Shows the devices and what becomes of them until it is told to stop: on the whole screen of a
/// terminal, else as lines.
ExitCode runWatch( Task &task );

extern const char *const watchHelp;

} // namespace HostTool
