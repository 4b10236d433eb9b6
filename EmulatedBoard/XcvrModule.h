#pragma once

#include "EmulatedBoard/Chip.h"

#include <array>
#include <string_view>

namespace EmulatedBoard {

/// A transceiver module, with the wires of its cage: what is in its EEPROM, and the low-speed
/// lines beside the two of the bus. "present" is whether it is in the cage.
///
/// The EEPROM has 256 bytes and takes no writes; they are dropped.
class XcvrModule : public Chip {
  public:
    /// A line between the cage and the board's logic. The functions tell whether it is asserted,
    /// whatever voltage that is.
    struct Line {
        std::string_view name;
        bool ( *isAsserted )( const XcvrModule &module );
        void ( *drive )( XcvrModule &module, bool asserted ); ///< null: the module drives it
    };
    /// The lines that a cage for this kind of module has.
    virtual std::span<const Line> lines() const = 0;

    struct FixedByte {
        uint8_t offset;
        uint8_t value;
    };
    /// Sums of all bytes from the first to the last.
    struct CheckCode {
        uint8_t first;
        uint8_t last;
        uint8_t offset;
    };
    struct TextField {
        uint8_t offset;
        uint8_t length;
    };
    /// Where a kind of module has its identity.
    struct Layout {
        std::span<const FixedByte> fixed;
        TextField manufacturer;
        TextField model;
        TextField revision;
        TextField serial;
        std::span<const CheckCode> checkCodes;
    };

    bool write( std::span<const uint8_t> bytes ) override;
    uint8_t read( size_t position ) override;

  protected:
    XcvrModule( uint8_t address, const Layout &layout );

    /// What an offset reads as.
    virtual uint8_t byteAt( uint8_t offset ) const { return bytes_[offset]; }
    /// The knobs of the lines.
    virtual std::vector<Knob> lineKnobs() = 0;

    void powerOn() override;
    std::vector<Knob> ownKnobs() override;

    /// A line that the board drives.
    static Knob drivenKnob( const char *name, const char *help, const bool &line );
    /// Something that is so as long as a person says so.
    static Knob worldKnob( const char *name, const char *help, bool &value );

  private:
    Knob fieldKnob( const char *name, const char *help, TextField where, std::string &field );
    void rebuild();

    const Layout &layout_;
    std::string manufacturer_ = "KAVRA";
    std::string model_ = "NONE";
    std::string revision_ = "00";
    std::string serial_ = "0";
    std::array<uint8_t, 256> bytes_;
    uint8_t pointer_ = 0;
};

} // namespace EmulatedBoard
