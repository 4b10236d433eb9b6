#include "EmulatedBoard/DocumentReader.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <charconv>
#include <cstdio>
#include <cstring>
#include <memory>
#include <optional>
#include <system_error>

namespace EmulatedBoard {

struct Master {
    std::string_view name;
    uint32_t number; // as clients send it
};
constexpr Master masters[] = {
    { "simulated", 0 }, { "I2C", 1 }, { "SCD", 2 },    { "IOPort", 3 },
    { "Celestica", 4 }, { "PLM", 5 }, { "SccSpi", 6 },
};

constexpr uint32_t largestField = 127; // bus and accelerator travel in seven bits

std::string readDocument( const std::string &file ) {
    const std::unique_ptr<FILE, int ( * )( FILE * )> stream( fopen( file.c_str(), "re" ), fclose );
    std::string text;
    std::array<char, 4096> part;
    size_t count = 0;
    while ( stream && ( count = fread( part.data(), 1, part.size(), stream.get() ) ) > 0 ) {
        text.append( part.data(), count );
    }
    if ( !stream || ferror( stream.get() ) != 0 ) {
        throw DocumentError( file + ": cannot be read: " + strerror( errno ) );
    }
    return text;
}

std::string quoted( std::string_view text ) {
    return "'" + std::string( text ) + "'";
}

std::string hexText( uint32_t value ) {
    char digits[8];
    const auto end = std::to_chars( digits, digits + sizeof digits, value, 16 );
    const std::string_view shown( digits, static_cast<size_t>( end.ptr - digits ) );
    return "0x" + std::string( shown.size() < 2 ? "0" : "" ) + std::string( shown );
}

static std::optional<uint32_t> parseNumber( std::string_view text ) {
    const bool hex = text.starts_with( "0x" );
    const std::string_view digits = hex ? text.substr( 2 ) : text;
    uint32_t value = 0;
    const char *end = digits.data() + digits.size();
    const auto parsed = std::from_chars( digits.data(), end, value, hex ? 16 : 10 );
    const bool whole = !digits.empty() && parsed.ec == std::errc() && parsed.ptr == end;
    return whole ? std::optional( value ) : std::nullopt;
}

void DocumentReader::fail( size_t offset, const std::string &message ) const {
    throw DocumentError( file_ + ":" + lineAndColumn( text_, offset ) + ": " + message );
}

JsonValue DocumentReader::parse() const {
    try {
        return parseJson( text_ );
    } catch ( const JsonError &error ) {
        fail( error.offset, error.what() );
    }
}

void DocumentReader::need( const JsonValue &value, Kind kind, const std::string &what,
                           const char *expected ) const {
    if ( value.kind != kind ) {
        fail( value.offset, what + " must be " + expected );
    }
}

void DocumentReader::allowKeys( const JsonValue &object,
                                std::initializer_list<std::string_view> keys ) const {
    for ( const JsonValue::Member &member : object.members ) {
        if ( std::ranges::find( keys, member.key ) != keys.end() ) {
            continue;
        }
        std::string known;
        for ( const std::string_view key : keys ) {
            known += ( known.empty() ? "" : ", " ) + std::string( key );
        }
        fail( member.offset, "unknown key " + quoted( member.key ) + "; known are " + known );
    }
}

const JsonValue &DocumentReader::needKey( const JsonValue &object, std::string_view key ) const {
    const JsonValue *value = object.find( key );
    if ( value == nullptr ) {
        fail( object.offset, "key " + quoted( key ) + " is missing" );
    }
    return *value;
}

const std::string &DocumentReader::string( const JsonValue &object, std::string_view key ) const {
    const JsonValue &value = needKey( object, key );
    need( value, Kind::String, quoted( key ), "a string" );
    return value.text;
}

const std::vector<JsonValue> &DocumentReader::array( const JsonValue &object,
                                                     std::string_view key ) const {
    const JsonValue &value = needKey( object, key );
    need( value, Kind::Array, quoted( key ), "an array" );
    for ( const JsonValue &item : value.items ) {
        need( item, Kind::Object, "each entry of " + quoted( key ), "an object" );
    }
    return value.items;
}

uint32_t DocumentReader::number( const JsonValue &object, std::string_view key, uint32_t lowest,
                                 uint32_t highest ) const {
    return toNumber( needKey( object, key ), quoted( key ), lowest, highest );
}

uint32_t DocumentReader::toNumber( const JsonValue &value, const std::string &what, uint32_t lowest,
                                   uint32_t highest ) const {
    const bool right = value.kind == Kind::Number ||
                       ( value.kind == Kind::String && value.text.starts_with( "0x" ) );
    const std::optional<uint32_t> parsed = right ? parseNumber( value.text ) : std::nullopt;
    if ( !parsed || *parsed < lowest || *parsed > highest ) {
        fail( value.offset, what + " must be a whole number from " + std::to_string( lowest ) +
                                " to " + std::to_string( highest ) + " (" + hexText( lowest ) +
                                " to " + hexText( highest ) + ")" );
    }
    return *parsed;
}

uint32_t DocumentReader::numberOr( uint32_t absent, const JsonValue &object, std::string_view key,
                                   uint32_t highest ) const {
    return object.find( key ) == nullptr ? absent : number( object, key, 0, highest );
}

uint32_t DocumentReader::master( const JsonValue &object ) const {
    const std::string &name = string( object, "master" );
    const auto *found = std::ranges::find( masters, name, &Master::name );
    if ( found == std::end( masters ) ) {
        std::string known;
        for ( const Master &each : masters ) {
            known += ( known.empty() ? "" : ", " ) + std::string( each.name );
        }
        fail( object.find( "master" )->offset,
              "unknown master " + quoted( name ) + "; known are " + known );
    }
    return found->number;
}

BusName DocumentReader::busName( const JsonValue &object ) const {
    return { .master = master( object ),
             .pci = numberOr( 0, object, "pci", UINT32_MAX ),
             .accelerator = numberOr( 0, object, "accelerator", largestField ),
             .bus = number( object, "bus", 0, largestField ) };
}

} // namespace EmulatedBoard
