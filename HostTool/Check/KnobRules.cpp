#include "HostTool/Check/KnobRules.h"

#include "HostTool/Check/Definition.h"
#include "HostTool/Check/ShapeText.h"

#include <algorithm>
#include <charconv>
#include <string>
#include <string_view>

namespace HostTool::Check {

namespace {

/// What the board makes of a value: nothing of an object or an array.
std::string_view textForBoard( const JsonFile &document, const Value &value ) {
    constexpr std::string_view others[] = { "null", "false", "true", "", "" };
    return value.IsString()   ? wholeText( value )
           : value.IsNumber() ? document.digitsOf( value )
                              : others[value.GetType()];
}

bool isNumberBetween( std::string_view text, double lowest, double highest ) {
    double value = 0;
    const char *end = text.data() + text.size();
    const auto parsed = std::from_chars( text.data(), end, value );
    // False for a NaN.
    const bool isInside = value >= lowest && value <= highest;
    return parsed.ec == std::errc() && parsed.ptr == end && isInside;
}

bool isOneOf( std::string_view text, const Value &allowed ) {
    const auto texts = elements( &allowed );
    return std::any_of( texts.begin(), texts.end(), [text]( const Value &each ) {
        return each.IsString() && wholeText( each ) == text;
    } );
}

bool isPrintable( std::string_view text ) {
    return std::all_of( text.begin(), text.end(), []( char c ) { return c >= ' ' && c <= '~'; } );
}

bool isHex( std::string_view text ) {
    return !text.empty() &&
           text.find_first_not_of( "0123456789abcdefABCDEF" ) == std::string_view::npos;
}

/// Bytes, two digits each, that end within an EEPROM of 256: "0a1b", or "2a:0a1b" from 0x2a.
bool isImage( std::string_view text ) {
    constexpr size_t size = 256;
    constexpr size_t digitsPerByte = 2;
    constexpr int hexadecimal = 16;
    size_t offset = 0;
    if ( const size_t colon = text.find( ':' ); colon != std::string_view::npos ) {
        const auto parsed =
            std::from_chars( text.data(), text.data() + colon, offset, hexadecimal );
        if ( !isHex( text.substr( 0, colon ) ) || parsed.ec != std::errc() || offset >= size ) {
            return false;
        }
        text.remove_prefix( colon + 1 );
    }
    return isHex( text ) && text.size() % digitsPerByte == 0 &&
           offset + text.size() / digitsPerByte <= size;
}

/// @param knob what the schema says about it
bool takes( const Value &knob, std::string_view text ) {
    if ( const Value *allowed = member( knob, "enum" ) ) {
        return isOneOf( text, *allowed );
    }
    if ( const Value *lowest = member( knob, "minimum" ) ) {
        return isNumberBetween( text, lowest->GetDouble(), member( knob, "maximum" )->GetDouble() );
    }
    if ( const auto longest = numberIn( knob, "maxLength" ) ) {
        return isPrintable( text ) && text.size() <= *longest;
    }
    return isImage( text );
}

} // namespace

void checkKnobs( const JsonFile &document, const Value &chip, Findings &findings ) {
    const Value *values = lastMember( chip, "set" );
    Definition::Property *set = definitions().get( rowOf( Node::chip ), chip ).property( "set" );
    if ( !values || !values->IsObject() || !set ) {
        return;
    }
    // Of two equal keys the board sets the first and then the second.
    for ( const auto &each : values->GetObject() ) {
        const std::string_view key = wholeText( each.name );
        const Definition::Property *knob = set->definition().property( key );
        const Spot spot = at( each.value );
        if ( knob && !takes( knob->schema(), textForBoard( document, each.value ) ) &&
             !findings.hasAt( document, spot ) ) {
            const Fault fault = wrongValue( knob->schema(), key, each.value );
            findings.add( RuleId::knobValue, document, spot, fault.text, fault.hint );
        }
    }
}

} // namespace HostTool::Check
