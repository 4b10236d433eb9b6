#include "EmulatedBoard/Lamp.h"

#include <utility>

namespace EmulatedBoard {

constexpr double longestPause = 1.5; // s
constexpr unsigned enoughFlashes = 3;

Lamp::Lamp( Clock clock ) : clock_( std::move( clock ) ) {}

void Lamp::colourIs( std::string_view colour ) {
    if ( colour == colour_ ) {
        return;
    }
    ++changes_;
    const double now = clock_();
    const bool isOtherColour = !colour.empty() && colour != litColour_;
    if ( isOtherColour || now - lastFlash_ > longestPause ) {
        flashes_ = 0;
    }
    ++flashes_;
    lastFlash_ = now;
    colour_ = colour;
    if ( !colour.empty() ) {
        litColour_ = colour;
    }
}

bool Lamp::blinks() const {
    return flashes_ >= enoughFlashes && clock_() - lastFlash_ <= longestPause;
}

std::string Lamp::look() const {
    if ( blinks() ) {
        return std::string( litColour_ ) + " blinking";
    }
    return std::string( colour_.empty() ? "off" : colour_ );
}

} // namespace EmulatedBoard
