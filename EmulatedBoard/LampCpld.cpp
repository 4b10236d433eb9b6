#include "EmulatedBoard/LampCpld.h"

namespace EmulatedBoard {

constexpr uint8_t noRegister = 0xff;

LampCpld::LampCpld( uint8_t address, uint8_t lampRegister, uint8_t atPowerOn )
    : Chip( address ), lampRegister_( lampRegister ), atPowerOn_( atPowerOn ),
      content_( atPowerOn ) {}

void LampCpld::powerOn() {
    pointer_ = 0;
    content_ = atPowerOn_;
    showLamps( content_ );
}

bool LampCpld::write( std::span<const uint8_t> bytes ) {
    if ( bytes.empty() ) {
        return true;
    }
    pointer_ = bytes[0];
    for ( const uint8_t content : bytes.subspan( 1 ) ) {
        if ( pointer_++ == lampRegister_ ) {
            content_ = content;
            showLamps( content_ );
        }
    }
    return true;
}

uint8_t LampCpld::read( size_t ) {
    return pointer_++ == lampRegister_ ? content_ : noRegister;
}

Knob LampCpld::lampsKnob() const {
    return readOnlyKnob( "lamps", "", "the lamps' register",
                         [this] { return registerText( content_, 2 ); } );
}

void LampCpld::addKnobs( std::vector<Knob> &knobs, const std::string &name,
                         const Lamp &lamp ) const {
    knobs.push_back( readOnlyKnob( name, "", "the lamp as a person sees it",
                                   [this, &lamp] { return present() ? lamp.look() : "off"; } ) );
    knobs.push_back( readOnlyKnob( name + "_changes", "", "how often that lamp has changed",
                                   [&lamp] { return std::to_string( lamp.changes() ); } ) );
}

} // namespace EmulatedBoard
