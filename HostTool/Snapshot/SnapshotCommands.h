#pragma once

#include "HostTool/Failure.h"

namespace HostTool {

struct Task;

/// "kavractl snapshot": everything that there is to know of the board, in one file.
ExitCode runSnapshot( Task &task );
extern const char *const snapshotHelp;

/// "kavractl diff": what is not as it was.
ExitCode runDiff( Task &task );
extern const char *const diffHelp;

} // namespace HostTool
