#pragma once

#include "EmulatedBoard/Chip.h"

namespace EmulatedBoard {

class PmbusSupply;

/// The register of the board's logic that has the signals of the two supply slots. It watches the
/// supplies in the slots, slot 1 first; a slot without one to watch is empty.
class SlotRegister : public Chip {
  public:
    explicit SlotRegister( uint8_t address );

    bool watch( const Chip &other ) override;

    bool write( std::span<const uint8_t> bytes ) override;
    uint8_t read( size_t position ) override;

  protected:
    void powerOn() override;
    std::vector<Knob> ownKnobs() override;

  private:
    uint8_t status() const;

    std::vector<const PmbusSupply *> supplies_;
    uint8_t pointer_ = 0;
};

} // namespace EmulatedBoard
