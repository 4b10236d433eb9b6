#pragma once

#include "HostTool/Failure.h"

namespace HostTool {

struct Task;

/// kavractl check: the operands are files and folders; without any the board's folder is checked.
ExitCode runCheck( Task &task );

extern const char *const checkHelp;

} // namespace HostTool
