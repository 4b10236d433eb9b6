#pragma once

#include "EmulatedBoard/Chip.h"
#include "EmulatedBoard/Lamp.h"

#include <string>

namespace EmulatedBoard {

/// Logic that has lamps behind the bits of one register. Bits without a lamp hold what is written;
/// all other registers read as ones.
class LampCpld : public Chip {
  public:
    bool write( std::span<const uint8_t> bytes ) override;
    uint8_t read( size_t position ) override;

  protected:
    /// @param atPowerOn the register, until it is written.
    LampCpld( uint8_t address, uint8_t lampRegister, uint8_t atPowerOn );

    virtual void showLamps( uint8_t content ) = 0;
    void powerOn() override;

    /// The register's own.
    Knob lampsKnob() const;
    /// Appends what there is to see of a lamp.
    void addKnobs( std::vector<Knob> &knobs, const std::string &name, const Lamp &lamp ) const;

  private:
    uint8_t lampRegister_;
    uint8_t atPowerOn_;
    uint8_t content_;
    uint8_t pointer_ = 0;
};

} // namespace EmulatedBoard
