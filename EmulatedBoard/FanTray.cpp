#include "EmulatedBoard/FanTray.h"

#include <algorithm>
#include <cmath>

namespace EmulatedBoard {

constexpr double frictionOfWornOut = 0.35; // of the full duty

void Rotor::run( double seconds, double duty, double inertia ) {
    if ( blocked ) {
        speed_ = 0;
        return;
    }
    const double friction = frictionOfWornOut * wear / 100;
    const double target = fullSpeed_ * std::max( 0.0, duty - friction );
    const double share = inertia > 0 ? 1 - std::exp( -seconds / inertia ) : 1;
    speed_ += ( target - speed_ ) * share;
}

void FanTray::presentIs( bool present ) {
    present_ = present;
    front.stop();
    rear.stop();
}

void FanTray::run( double seconds, double duty, double inertia ) {
    if ( present_ ) {
        front.run( seconds, duty, inertia );
        rear.run( seconds, duty, inertia );
    }
}

} // namespace EmulatedBoard
