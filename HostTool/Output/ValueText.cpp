#include "HostTool/Output/ValueText.h"

#include <array>
#include <charconv>
#include <limits>

namespace HostTool {

std::string numberText( double value, int decimals, const std::string &unit ) {
    constexpr int most = std::numeric_limits<double>::max_exponent10 + 16; // and decimals
    std::array<char, most> digits;
    char *const end = digits.data() + digits.size();
    const auto result =
        std::to_chars( digits.data(), end, value, std::chars_format::fixed, decimals );
    std::string text( digits.data(), result.ptr );
    return unit.empty() ? text : text.append( " " ).append( unit );
}

namespace {

struct ValueText {
    const Column &column;
    std::string operator()( std::monostate ) const { return "--"; }
    std::string operator()( bool value ) const { return value ? "yes" : "no"; }
    std::string operator()( int value ) const { return numberText( value, 0, column.unit ); }
    std::string operator()( float value ) const {
        return numberText( static_cast<double>( value ), column.decimals, column.unit );
    }
    std::string operator()( const std::string &value ) const { return value; }
};

} // namespace

std::string valueText( const Reading &reading, const Column &column ) {
    if ( reading.status == PL_STATUS_NOT_SUPPORTED ) {
        return "n/a";
    }
    if ( !reading.hasValue() && reading.status == PL_STATUS_OK ) {
        return "unread";
    }
    return std::visit( ValueText{ column }, reading.value );
}

} // namespace HostTool
