#include "EmulatedBoard/Segment.h"

#include <utility>

namespace EmulatedBoard {

Chip &Segment::add( std::unique_ptr<Chip> chip ) {
    chips_.push_back( std::move( chip ) );
    return *chips_.back();
}

void Segment::collect( uint8_t address, std::vector<Chip *> &listening ) const {
    for ( const auto &chip : chips_ ) {
        if ( !chip->answers() ) {
            continue;
        }
        if ( chip->address() == address ) {
            listening.push_back( chip.get() );
        }
        for ( size_t channel = 0; channel < chip->channelCount(); ++channel ) {
            if ( chip->channelOn( channel ) ) {
                chip->channel( channel )->collect( address, listening );
            }
        }
    }
}

} // namespace EmulatedBoard
