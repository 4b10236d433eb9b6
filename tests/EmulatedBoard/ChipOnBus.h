#pragma once

#include "EmulatedBoard/Bus.h"
#include "EmulatedBoard/Chip.h"

#include <cstdint>
#include <initializer_list>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include <gtest/gtest.h>

namespace EmulatedBoard {

/// Prints what a transfer read in hexadecimal: "17 00".
inline std::string hexOf( const std::vector<uint8_t> &bytes ) {
    std::string text;
    for ( const uint8_t byte : bytes ) {
        text += ( text.empty() ? "" : " " ) + registerText( byte, 2 ).substr( 2 );
    }
    return text;
}

/// One chip alone on a bus, with its wires and its knobs.
template <class Type, uint8_t chipAddress>
class ChipOnBus : public testing::Test {
  protected:
    ChipOnBus() {
        auto made = std::make_unique<Type>( chipAddress );
        chip = made.get();
        bus.segment().add( std::move( made ) );
    }

    Bus::Result write( std::initializer_list<uint8_t> bytes ) {
        return bus.write( chipAddress, { bytes.begin(), bytes.size() } );
    }

    /// "no acknowledge" when the chip does not answer.
    std::string read( uint8_t command, size_t count ) {
        std::vector<uint8_t> in( count );
        const Bus::Result result = bus.writeRead( chipAddress, { &command, 1 }, in );
        return result == Bus::Result::Done ? hexOf( in ) : "no acknowledge";
    }

    std::string get( std::string_view name ) { return knob( name ).get(); }
    bool set( std::string_view name, std::string_view value ) { return knob( name ).set( value ); }

    Bus bus;
    Type *chip;

  private:
    Knob knob( std::string_view name ) {
        for ( Knob &each : chip->knobs() ) {
            if ( each.name == name ) {
                return each;
            }
        }
        ADD_FAILURE() << "no knob " << name;
        return {};
    }
};

} // namespace EmulatedBoard
