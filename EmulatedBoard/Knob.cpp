#include "EmulatedBoard/Knob.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cstdio>
#include <system_error>
#include <utility>

namespace EmulatedBoard {

std::string numberText( double value ) {
    std::array<char, 64> text;
    const auto end = std::to_chars( text.data(), text.data() + text.size(), value );
    return std::string( text.data(), end.ptr );
}

std::string registerText( unsigned value, int digits ) {
    std::array<char, 16> text;
    snprintf( text.data(), text.size(), "0x%0*x", digits, value );
    return text.data();
}

Knob numberKnob( std::string name, std::string unit, std::string help, double lowest,
                 double highest, std::function<double()> get, std::function<void( double )> set ) {
    auto setText = [lowest, highest, set = std::move( set )]( std::string_view text ) {
        double value = 0;
        const char *end = text.data() + text.size();
        const auto parsed = std::from_chars( text.data(), end, value );
        const bool inRange = value >= lowest && value <= highest; // false for a NaN
        if ( parsed.ec != std::errc() || parsed.ptr != end || !inRange ) {
            return false;
        }
        set( value );
        return true;
    };
    return { .name = std::move( name ),
             .unit = std::move( unit ),
             .help = std::move( help ),
             .allowed = numberText( lowest ) + " to " + numberText( highest ),
             .get = [get = std::move( get )] { return numberText( get() ); },
             .set = std::move( setText ) };
}

Knob switchKnob( std::string name, std::string help, std::function<bool()> get,
                 std::function<void( bool )> set ) {
    auto setText = [set = std::move( set )]( std::string_view text ) {
        if ( text != "0" && text != "1" ) {
            return false;
        }
        set( text == "1" );
        return true;
    };
    return { .name = std::move( name ),
             .unit = {},
             .help = std::move( help ),
             .allowed = "0 or 1",
             .get = [get = std::move( get )] { return std::string( get() ? "1" : "0" ); },
             .set = std::move( setText ) };
}

Knob textKnob( std::string name, std::string help, size_t longest, std::function<std::string()> get,
               std::function<void( std::string )> set ) {
    auto setText = [longest, set = std::move( set )]( std::string_view text ) {
        const bool isPrintable =
            std::ranges::all_of( text, []( char c ) { return c >= ' ' && c <= '~'; } );
        if ( !isPrintable || text.size() > longest ) {
            return false;
        }
        set( std::string( text ) );
        return true;
    };
    return { .name = std::move( name ),
             .unit = {},
             .help = std::move( help ),
             .allowed = "up to " + std::to_string( longest ) + " printable ASCII characters",
             .get = std::move( get ),
             .set = std::move( setText ) };
}

Knob readOnlyKnob( std::string name, std::string unit, std::string help,
                   std::function<std::string()> get ) {
    return { .name = std::move( name ),
             .unit = std::move( unit ),
             .help = std::move( help ),
             .allowed = {},
             .get = std::move( get ),
             .set = nullptr };
}

} // namespace EmulatedBoard
