#include "tests/soak/Lamps.h"

#include <algorithm>
#include <array>
#include <cstdlib>

namespace Soak {

// What the system's lamps show for each setting; there is none for Inactive, which is refused.
constexpr std::array<unsigned, 7> systemBytes = { 0x83, 0x82, 0x80, 0x81, 0, 0x83, 0x82 };
constexpr unsigned systemLocatorLit = 0x02;
constexpr unsigned systemLocatorDark = 0x82;

class Lamps::LampDevice : public Device {
  public:
    LampDevice( Lamps &lamps, Lamp &lamp, pl_led *led )
        : lamps_( lamps ), lamp_( lamp ), led_( led ) {}

    bool meetsFaults() const override { return false; }
    void read( Judge &judge ) override {
        lamps_.compare( lamp_, judge );
        // Blinking costs a batch or more a second: it is rare.
        const bool blinks = lamps_.random_->oneIn( 20 );
        const auto setting =
            blinks ? PL_LED_BEACON : static_cast<pl_led_status>( lamps_.random_->below( 6 ) );
        judge.checkStatus( "setLightSetting", led_->ops->setLightSetting( led_, setting ),
                           setting == PL_LED_INACTIVE ? PL_STATUS_INVALID : PL_STATUS_OK );
        lamps_.show( lamp_, setting );
        lamps_.compare( lamp_, judge );
    }

  private:
    Lamps &lamps_;
    Lamp &lamp_;
    pl_led *led_;
};

std::unique_ptr<Device> Lamps::device( const Entry &entry, void *record ) {
    const auto lamp = std::ranges::find( lamps_, entry.name, &Lamp::name );
    if ( lamp == lamps_.end() ) {
        return nullptr;
    }
    return std::make_unique<LampDevice>( *this, *lamp, static_cast<pl_led *>( record ) );
}

unsigned &Lamps::registerOf( const Lamp &lamp ) {
    return lamp.lit == 0 ? systemRegister_ : portRegister_;
}

// A lamp that blinks goes on when it is told to again. Any other setting ends it, also one that is
// refused.
void Lamps::show( Lamp &lamp, unsigned setting ) {
    if ( setting == PL_LED_BEACON && lamp.blinks ) {
        return;
    }
    lamp.blinks = setting == PL_LED_BEACON;
    if ( setting == PL_LED_INACTIVE ) {
        return;
    }
    if ( lamp.lit == 0 ) {
        systemRegister_ = systemBytes[setting];
        return;
    }
    switch ( setting ) {
    case PL_LED_GOOD:
        portRegister_ = ( portRegister_ | lamp.lit ) & ~lamp.amber;
        break;
    case PL_LED_WARNING:
    case PL_LED_BAD:
        portRegister_ |= lamp.lit | lamp.amber;
        break;
    default: // dark; whether it would be amber stays
        portRegister_ &= ~lamp.lit;
        break;
    }
}

void Lamps::blinked() {
    for ( const Lamp &lamp : lamps_ ) {
        if ( !lamp.blinks ) {
            continue;
        }
        if ( lamp.lit == 0 ) {
            systemRegister_ = phase_ ? systemLocatorLit : systemLocatorDark;
        } else if ( phase_ ) {
            portRegister_ |= lamp.lit | lamp.amber;
        } else {
            portRegister_ &= ~lamp.lit;
        }
    }
    phase_ = !phase_;
}

void Lamps::compare( const Lamp &lamp, Judge &judge ) {
    const std::string shown = world_.get( lamp.knob );
    const auto content = static_cast<unsigned>( strtoul( shown.c_str(), nullptr, 16 ) );
    judge.check( "the lamps' register", PL_STATUS_OK, content,
                 Truth<unsigned>{ 0, registerOf( lamp ) } );
}

} // namespace Soak
