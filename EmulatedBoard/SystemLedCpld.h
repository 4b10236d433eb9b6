#pragma once

#include "EmulatedBoard/LampCpld.h"

namespace EmulatedBoard {

/// The logic behind the two system lamps: the status, in three colours, and the blue one that
/// helps to find the switch in its rack.
class SystemLedCpld : public LampCpld {
  public:
    explicit SystemLedCpld( uint8_t address, const Clock &clock = steadySeconds );

  protected:
    void showLamps( uint8_t content ) override;
    std::vector<Knob> ownKnobs() override;

  private:
    Lamp status_;
    Lamp locator_;
};

} // namespace EmulatedBoard
