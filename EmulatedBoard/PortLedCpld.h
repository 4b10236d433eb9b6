#pragma once

#include "EmulatedBoard/LampCpld.h"

#include <array>

namespace EmulatedBoard {

/// The logic behind the lamps of the two SFP+ ports, which are green or amber.
class PortLedCpld : public LampCpld {
  public:
    explicit PortLedCpld( uint8_t address, const Clock &clock = steadySeconds );

  protected:
    void showLamps( uint8_t content ) override;
    std::vector<Knob> ownKnobs() override;

  private:
    std::array<Lamp, 2> lamps_;
};

} // namespace EmulatedBoard
