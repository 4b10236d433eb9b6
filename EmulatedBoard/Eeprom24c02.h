#pragma once

#include "EmulatedBoard/Chip.h"

#include <array>

namespace EmulatedBoard {

/// 24C02: 256 bytes of EEPROM. Its bytes are made from the fields of a supply's identity, in one of
/// two formats, until somebody writes others. A write is done at once.
class Eeprom24c02 : public Chip {
  public:
    static constexpr size_t size = 256;

    explicit Eeprom24c02( uint8_t address );

    bool write( std::span<const uint8_t> bytes ) override;
    uint8_t read( size_t position ) override;

  protected:
    void powerOn() override;
    std::vector<Knob> ownKnobs() override;

  private:
    Knob fieldKnob( const char *name, const char *help, std::string &field );
    Knob formatKnob();
    Knob imageKnob();
    void rebuild();

    std::string format_ = "fru";
    std::string manufacturer_ = "KAVRA";
    std::string model_ = "NONE";
    std::string revision_ = "00";
    std::string serial_ = "0";
    std::array<uint8_t, size> bytes_;
    uint8_t pointer_ = 0;
};

} // namespace EmulatedBoard
