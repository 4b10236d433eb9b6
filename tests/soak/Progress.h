#pragma once

#include <chrono>
#include <cstdint>

namespace Soak {

/// How far a run is: on a terminal in a line that changes, elsewhere in a line a minute.
class Progress {
  public:
    /// @param share of the run that is behind us, 0 to 1.
    /// @param done polls or accesses.
    void show( double share, uint64_t done );
    /// Clears the line of the terminal.
    void end() const;
    double seconds() const;

  private:
    using Clock = std::chrono::steady_clock;
    Clock::time_point start_ = Clock::now();
    double lastLine_ = 0; // in seconds
};

} // namespace Soak
