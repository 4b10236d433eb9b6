#include "EmulatedBoard/Clock.h"

#include <chrono>

namespace EmulatedBoard {

double steadySeconds() {
    const auto now = std::chrono::steady_clock::now().time_since_epoch();
    return std::chrono::duration<double>( now ).count();
}

} // namespace EmulatedBoard
