#pragma once

#include "EmulatedBoard/Chip.h"

#include <memory>
#include <vector>

namespace EmulatedBoard {

/// The two wires between a controller or a mux channel and the chips on them.
class Segment {
  public:
    Chip &add( std::unique_ptr<Chip> chip );
    const std::vector<std::unique_ptr<Chip>> &chips() const { return chips_; }

    /// Appends the chips that see a start with this address: those here, and those behind every
    /// mux channel that is on at this moment.
    void collect( uint8_t address, std::vector<Chip *> &listening ) const;

  private:
    std::vector<std::unique_ptr<Chip>> chips_;
};

} // namespace EmulatedBoard
