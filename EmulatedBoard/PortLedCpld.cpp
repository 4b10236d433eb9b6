// Port lamps, register 0x49.
//
//     7   Ethernet34: lit      6   Ethernet33: lit
//     3   Ethernet34: amber    2   Ethernet33: amber
#include "EmulatedBoard/PortLedCpld.h"

namespace EmulatedBoard {

constexpr uint8_t lampRegister = 0x49;
constexpr uint8_t allDark = 0x00;

struct LampBits {
    const char *knob;
    uint8_t lit;
    uint8_t amber;
};
constexpr std::array<LampBits, 2> lampBits = { { { "ethernet33", 0x40, 0x04 },
                                                 { "ethernet34", 0x80, 0x08 } } };

PortLedCpld::PortLedCpld( uint8_t address, const Clock &clock )
    : LampCpld( address, lampRegister, allDark ), lamps_{ Lamp( clock ), Lamp( clock ) } {}

void PortLedCpld::showLamps( uint8_t content ) {
    for ( size_t lamp = 0; lamp < lamps_.size(); ++lamp ) {
        const bool isLit = ( content & lampBits[lamp].lit ) != 0;
        const bool isAmber = ( content & lampBits[lamp].amber ) != 0;
        const std::string_view colour = isAmber ? "amber" : "green";
        lamps_[lamp].colourIs( isLit ? colour : std::string_view() );
    }
}

std::vector<Knob> PortLedCpld::ownKnobs() {
    std::vector<Knob> knobs;
    for ( size_t lamp = 0; lamp < lamps_.size(); ++lamp ) {
        addKnobs( knobs, lampBits[lamp].knob, lamps_[lamp] );
    }
    knobs.push_back( lampsKnob() );
    return knobs;
}

} // namespace EmulatedBoard
