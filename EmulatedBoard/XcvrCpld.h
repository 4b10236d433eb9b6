#pragma once

#include "EmulatedBoard/Chip.h"
#include "EmulatedBoard/XcvrModule.h"

#include <map>

namespace EmulatedBoard {

/// The logic that has the low-speed lines of the front panel's cages in its registers, a bit a
/// line. Which line is where is the board's matter. A bit without a line reads as 0; a register
/// without any reads as ones.
class XcvrCpld : public Chip {
  public:
    explicit XcvrCpld( uint8_t address );

    struct Bit {
        uint8_t reg;
        uint8_t bit; ///< 0 to 7
        auto operator<=>( const Bit & ) const = default;
    };
    /// Puts a line of a cage on a bit.
    /// @param line       one of the module's
    /// @param activeHigh a 1 means that the line is asserted
    /// @return false when the bit has a line already.
    bool connect( Bit bit, XcvrModule &module, const XcvrModule::Line &line, bool activeHigh );

    bool write( std::span<const uint8_t> bytes ) override;
    uint8_t read( size_t position ) override;

  protected:
    void powerOn() override;
    std::vector<Knob> ownKnobs() override;

  private:
    struct Connection {
        XcvrModule *module;
        const XcvrModule::Line *line;
        bool activeHigh;
    };

    void registerIs( uint8_t reg, uint8_t content );

    std::map<Bit, Connection> connections_;
    uint8_t pointer_ = 0;
};

} // namespace EmulatedBoard
