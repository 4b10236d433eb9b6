#pragma once

#include "HostTool/Failure.h"

namespace HostTool {

struct Task;

/// kavractl explain: the operands are devices; without any, the load of the board's busses is
/// shown.
ExitCode runExplain( Task &task );

extern const char *const explainHelp;

} // namespace HostTool
