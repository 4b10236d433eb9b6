#pragma once

namespace Fuzz {

/// The host's services, as a fuzzing target needs them: traces are formatted and dropped, timers
/// fire when the target says so.
namespace Host {

/// Fires every timer that is armed.
void tick();
/// Forgets all timers.
void reset();

} // namespace Host
} // namespace Fuzz
