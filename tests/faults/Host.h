#pragma once

#include <cstddef>

/// The host's services: traces are kept in a few lines of fixed size, timers fire when asked to.
/// Nothing here allocates. Making and arming a timer fail when Faults says so.
namespace Host {

/// Fires a timer, made as the index-th. False without one.
bool tick( size_t index );
void forgetTimers();
bool isArmed( size_t index );
/// The last lines, for reports.
const char *lastLine();

} // namespace Host
