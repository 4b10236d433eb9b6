#pragma once

#include <functional>

namespace EmulatedBoard {

/// Seconds that never go back, for chips in which time passes.
using Clock = std::function<double()>;

/// The machine's clock.
double steadySeconds();

} // namespace EmulatedBoard
