#include "HostTool/Metrics/Utf8.h"

#include <algorithm>
#include <cstdint>

namespace HostTool::Metrics {

namespace {

constexpr std::string_view replacement = "\xEF\xBF\xBD";

bool isAscii( char c ) {
    return static_cast<unsigned char>( c ) < 0x80;
}

/// First bytes, how many follow, and what the first of those may be: this leaves out surrogates,
/// needlessly long forms and what lies beyond U+10FFFF.
struct Lead {
    uint8_t first;
    uint8_t last;
    size_t followers;
    uint8_t lowest;
    uint8_t highest;
};
constexpr Lead leads[] = {
    { 0xC2, 0xDF, 1, 0x80, 0xBF }, { 0xE0, 0xE0, 2, 0xA0, 0xBF }, { 0xE1, 0xEC, 2, 0x80, 0xBF },
    { 0xED, 0xED, 2, 0x80, 0x9F }, { 0xEE, 0xEF, 2, 0x80, 0xBF }, { 0xF0, 0xF0, 3, 0x90, 0xBF },
    { 0xF1, 0xF3, 3, 0x80, 0xBF }, { 0xF4, 0xF4, 3, 0x80, 0x8F },
};

/// Bytes of the character that the text begins with; 0 when it begins with none.
size_t characterLength( std::string_view text ) {
    const auto byte = [&]( size_t i ) { return static_cast<uint8_t>( text[i] ); };
    if ( isAscii( text[0] ) ) {
        return 1;
    }
    const auto lead = std::find_if( std::begin( leads ), std::end( leads ), [&]( const Lead &row ) {
        return row.first <= byte( 0 ) && byte( 0 ) <= row.last;
    } );
    if ( lead == std::end( leads ) || text.size() <= lead->followers || byte( 1 ) < lead->lowest ||
         byte( 1 ) > lead->highest ) {
        return 0;
    }
    for ( size_t i = 2; i <= lead->followers; ++i ) {
        if ( ( byte( i ) & 0xC0U ) != 0x80U ) {
            return 0;
        }
    }
    return lead->followers + 1;
}

} // namespace

std::string validUtf8( std::string_view text ) {
    if ( std::all_of( text.begin(), text.end(), isAscii ) ) {
        return std::string( text );
    }
    std::string valid;
    while ( !text.empty() ) {
        const size_t length = characterLength( text );
        valid += length == 0 ? replacement : text.substr( 0, length );
        text.remove_prefix( std::max<size_t>( length, 1 ) );
    }
    return valid;
}

} // namespace HostTool::Metrics
