#pragma once

#include "HostTool/Commands.h"

namespace HostTool {

/// Tells one device one thing. A lamp that is told to blink does so until the command is
/// interrupted or its time is over.
/// @return fine, or boardTrouble when the device did not take it.
/// @throw Failure (badInput) for a call that makes no sense: nothing was done then.
ExitCode runSet( Task &task );

extern const char *const setHelp;

} // namespace HostTool
