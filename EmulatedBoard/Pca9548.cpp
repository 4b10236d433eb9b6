#include "EmulatedBoard/Pca9548.h"

namespace EmulatedBoard {

Pca9548::Pca9548( uint8_t address ) : Chip( address ) {}

void Pca9548::powerOn() {
    control_ = 0;
}

// There is no command: every byte is the control register, and the last one stays.
bool Pca9548::write( std::span<const uint8_t> bytes ) {
    if ( !bytes.empty() ) {
        control_ = bytes.back();
    }
    return true;
}

uint8_t Pca9548::read( size_t ) {
    return control_;
}

bool Pca9548::channelOn( size_t channel ) const {
    return ( control_ >> channel & 1 ) != 0;
}

std::vector<Knob> Pca9548::ownKnobs() {
    return { readOnlyKnob( "control", "", "control register: a bit for each channel that is on",
                           [this] { return registerText( control_, 2 ); } ) };
}

} // namespace EmulatedBoard
