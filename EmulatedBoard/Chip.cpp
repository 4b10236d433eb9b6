#include "EmulatedBoard/Chip.h"

namespace EmulatedBoard {

Chip::Chip( uint8_t address ) : address_( address ) {}

bool Chip::present() const {
    return present_ && ( carrier_ == nullptr || carrier_->present() );
}

void Chip::presentIs( bool present ) {
    const bool comesBack = present && !present_;
    present_ = present;
    if ( comesBack ) {
        getPower();
    }
}

void Chip::getPower() {
    powerOn();
    for ( Chip *chip : carried_ ) {
        chip->getPower();
    }
}

void Chip::mountOn( Chip &carrier ) {
    carrier_ = &carrier;
    carrier.carried_.push_back( this );
}

bool Chip::watch( const Chip & ) {
    return false;
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
