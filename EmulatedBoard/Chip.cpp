#include "EmulatedBoard/Chip.h"

namespace EmulatedBoard {

Chip::Chip( uint8_t address ) : address_( address ) {}

void Chip::presentIs( bool present ) {
    if ( present && !present_ ) {
        powerOn();
    }
    present_ = present;
}

Segment *Chip::channel( size_t ) {
    return nullptr;
}

bool Chip::channelOn( size_t ) const {
    return false;
}

std::vector<Knob> Chip::knobs() {
    std::vector<Knob> all = ownKnobs();
    all.push_back( switchKnob(
        "present", "1: the chip is fitted and powered; 0: it answers nothing",
        [this] { return present(); }, [this]( bool value ) { presentIs( value ); } ) );
    return all;
}

} // namespace EmulatedBoard
