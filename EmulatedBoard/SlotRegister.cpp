// Supply slots, register 8, read only. The lines are pulled up: an empty slot reads as ones.
//
//     3   slot 1: power is not good      2   slot 2: power is not good
//     1   slot 1: empty                  0   slot 2: empty
#include "EmulatedBoard/SlotRegister.h"

#include "EmulatedBoard/PmbusSupply.h"

#include <array>

namespace EmulatedBoard {

constexpr unsigned statusRegister = 8;
constexpr uint8_t noRegister = 0xff;

struct SlotBits {
    uint8_t notGood;
    uint8_t empty;
};
constexpr std::array<SlotBits, 2> slots = { { { 0x08, 0x02 }, { 0x04, 0x01 } } };

SlotRegister::SlotRegister( uint8_t address ) : Chip( address ) {}

void SlotRegister::powerOn() {
    pointer_ = 0;
}

bool SlotRegister::watch( const Chip &other ) {
    const auto *supply = dynamic_cast<const PmbusSupply *>( &other );
    if ( supply == nullptr || supplies_.size() == slots.size() ) {
        return false;
    }
    supplies_.push_back( supply );
    return true;
}

uint8_t SlotRegister::status() const {
    unsigned value = 0;
    for ( size_t slot = 0; slot < slots.size(); ++slot ) {
        const bool isFilled = slot < supplies_.size() && supplies_[slot]->present();
        const bool isGood = isFilled && supplies_[slot]->powerGood();
        value |= ( isFilled ? 0U : slots[slot].empty ) | ( isGood ? 0U : slots[slot].notGood );
    }
    return static_cast<uint8_t>( value );
}

bool SlotRegister::write( std::span<const uint8_t> bytes ) {
    if ( !bytes.empty() ) {
        pointer_ = bytes[0];
    }
    return true;
}

uint8_t SlotRegister::read( size_t position ) {
    return pointer_ + position == statusRegister ? status() : noRegister;
}

std::vector<Knob> SlotRegister::ownKnobs() {
    return { readOnlyKnob( "status", "", "the register as it reads at this moment",
                           [this] { return registerText( status(), 2 ); } ) };
}

} // namespace EmulatedBoard
