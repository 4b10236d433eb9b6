#pragma once

#include "EmulatedBoard/Chip.h"

#include <array>

namespace EmulatedBoard {

/// LM75B: a temperature sensor with 0.125 °C a step and two limits. Its over-temperature output is
/// wired to nothing here.
class Lm75 : public Chip {
  public:
    explicit Lm75( uint8_t address );

    /// The world's temperature at the part, °C.
    void temperatureIs( double celsius );

    bool write( std::span<const uint8_t> bytes ) override;
    uint8_t read( size_t position ) override;

  protected:
    void powerOn() override;
    std::vector<Knob> ownKnobs() override;

  private:
    bool shutDown() const;
    void convert();

    double temperature_ = 25;
    uint8_t pointer_;
    std::array<uint16_t, 4> registers_;
};

} // namespace EmulatedBoard
