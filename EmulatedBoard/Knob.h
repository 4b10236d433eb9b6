#pragma once

#include <cstddef>
#include <functional>
#include <string>
#include <string_view>

namespace EmulatedBoard {

/// One thing of a chip's world that a person or a script can look at or turn: a temperature, a
/// plug, what a register holds. Values are text.
struct Knob {
    std::string name; ///< within the chip: "temperature"
    std::string unit; ///< "°C"; empty when there is none
    std::string help;
    std::string allowed; ///< what set() takes, for a person: "-55 to 125"; empty: read only
    std::function<std::string()> get;
    std::function<bool( std::string_view )> set; ///< false: not an allowed value, nothing changed
};

/// Takes a decimal number in [lowest, highest].
Knob numberKnob( std::string name, std::string unit, std::string help, double lowest,
                 double highest, std::function<double()> get, std::function<void( double )> set );
/// Takes 0 or 1.
Knob switchKnob( std::string name, std::string help, std::function<bool()> get,
                 std::function<void( bool )> set );
/// Takes up to so many printable ASCII characters.
Knob textKnob( std::string name, std::string help, size_t longest, std::function<std::string()> get,
               std::function<void( std::string )> set );
Knob readOnlyKnob( std::string name, std::string unit, std::string help,
                   std::function<std::string()> get );

/// The shortest text that reads back as the same number: 24.5, 41, -0.125.
std::string numberText( double value );
/// "0x08", "0x0840": so many hexadecimal digits, at most 8.
std::string registerText( unsigned value, int digits );

} // namespace EmulatedBoard
