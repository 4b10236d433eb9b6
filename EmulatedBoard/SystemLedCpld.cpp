// System lamps, register 0x41.
//
//     7       locator is dark
//     1..0    status: 0 amber, 1 red, 2 green, 3 dark
#include "EmulatedBoard/SystemLedCpld.h"

namespace EmulatedBoard {

constexpr uint8_t lampRegister = 0x41;
constexpr uint8_t allDark = 0x83;

constexpr unsigned locatorDark = 0x80;
constexpr unsigned statusMask = 0x03;
constexpr std::string_view statusColours[] = { "amber", "red", "green", "" };

SystemLedCpld::SystemLedCpld( uint8_t address, const Clock &clock )
    : LampCpld( address, lampRegister, allDark ), status_( clock ), locator_( clock ) {}

void SystemLedCpld::showLamps( uint8_t content ) {
    status_.colourIs( statusColours[content & statusMask] );
    locator_.colourIs( ( content & locatorDark ) != 0 ? "" : "blue" );
}

std::vector<Knob> SystemLedCpld::ownKnobs() {
    std::vector<Knob> knobs;
    addKnobs( knobs, "status", status_ );
    addKnobs( knobs, "locator", locator_ );
    knobs.push_back( lampsKnob() );
    return knobs;
}

} // namespace EmulatedBoard
