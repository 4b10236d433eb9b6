#pragma once

#include "tests/soak/Options.h"

#include <cstdint>

namespace Soak {

/// Leaks what the options say, every so many turns. What is wrong on purpose in the readings is
/// not done here.
void leak( Sabotage sabotage, uint64_t turn );
/// Whether something is to go wrong on purpose in this turn.
bool isSabotaged( uint64_t turn );

} // namespace Soak
