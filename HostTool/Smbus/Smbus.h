#pragma once

#include "HostTool/Commands.h"

namespace HostTool {

/// One access to a chip through pl_smbus_add(), or a scan of a bus. The chip need not be in the
/// board's documents; its bus must.
/// @return fine, or boardTrouble when the access failed.
/// @throw Failure (badInput) for a call that makes no sense or that the user did not confirm.
ExitCode runSmbus( Task &task );

extern const char *const smbusHelp;

} // namespace HostTool
