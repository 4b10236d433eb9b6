#include "EmulatedBoard/Document.h"

#include "EmulatedBoard/Chips.h"
#include "EmulatedBoard/JsonTree.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <charconv>
#include <cstdio>
#include <cstring>
#include <initializer_list>
#include <memory>
#include <optional>
#include <string_view>
#include <system_error>

namespace EmulatedBoard {

namespace {

struct Master {
    std::string_view name;
    uint32_t number; // as clients send it
};
constexpr Master masters[] = {
    { "simulated", 0 }, { "I2C", 1 }, { "SCD", 2 },    { "IOPort", 3 },
    { "Celestica", 4 }, { "PLM", 5 }, { "SccSpi", 6 },
};

constexpr uint32_t largestField = 127; // bus and accelerator travel in seven bits
constexpr uint32_t firstAddress = 0x03;
constexpr uint32_t lastAddress = 0x77;

std::string quoted( std::string_view text ) {
    return "'" + std::string( text ) + "'";
}

std::string hexText( uint32_t value ) {
    char digits[8];
    const auto end = std::to_chars( digits, digits + sizeof digits, value, 16 );
    const std::string_view shown( digits, static_cast<size_t>( end.ptr - digits ) );
    return "0x" + std::string( shown.size() < 2 ? "0" : "" ) + std::string( shown );
}

std::optional<uint32_t> toNumber( std::string_view text ) {
    const bool hex = text.starts_with( "0x" );
    const std::string_view digits = hex ? text.substr( 2 ) : text;
    uint32_t value = 0;
    const char *end = digits.data() + digits.size();
    const auto parsed = std::from_chars( digits.data(), end, value, hex ? 16 : 10 );
    const bool whole = !digits.empty() && parsed.ec == std::errc() && parsed.ptr == end;
    return whole ? std::optional( value ) : std::nullopt;
}

class Loader {
  public:
    Loader( const std::string &text, const std::string &file ) : text_( text ), file_( file ) {}

    Board load() {
        const JsonValue root = parse();
        need( root, JsonValue::Kind::Object, "the document", "an object" );
        allowKeys( root, { "busses" } );
        for ( const JsonValue &bus : array( root, "busses" ) ) {
            addBus( bus );
        }
        return std::move( board_ );
    }

  private:
    using Kind = JsonValue::Kind;

    [[noreturn]] void fail( size_t offset, const std::string &message ) const {
        throw DocumentError( file_ + ":" + lineAndColumn( text_, offset ) + ": " + message );
    }

    JsonValue parse() const {
        try {
            return parseJson( text_ );
        } catch ( const JsonError &error ) {
            fail( error.offset, error.what() );
        }
    }

    void need( const JsonValue &value, Kind kind, const std::string &what,
               const char *expected ) const {
        if ( value.kind != kind ) {
            fail( value.offset, what + " must be " + expected );
        }
    }

    void allowKeys( const JsonValue &object, std::initializer_list<std::string_view> keys ) const {
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

    const JsonValue &needKey( const JsonValue &object, std::string_view key ) const {
        const JsonValue *value = object.find( key );
        if ( value == nullptr ) {
            fail( object.offset, "key " + quoted( key ) + " is missing" );
        }
        return *value;
    }

    const std::string &string( const JsonValue &object, std::string_view key ) const {
        const JsonValue &value = needKey( object, key );
        need( value, Kind::String, quoted( key ), "a string" );
        return value.text;
    }

    const std::vector<JsonValue> &array( const JsonValue &object, std::string_view key ) const {
        const JsonValue &value = needKey( object, key );
        need( value, Kind::Array, quoted( key ), "an array" );
        for ( const JsonValue &item : value.items ) {
            need( item, Kind::Object, "each entry of " + quoted( key ), "an object" );
        }
        return value.items;
    }

    // A number, or a string with a hexadecimal one: "0x48".
    uint32_t number( const JsonValue &object, std::string_view key, uint32_t lowest,
                     uint32_t highest ) const {
        const JsonValue &value = needKey( object, key );
        const bool right = value.kind == Kind::Number ||
                           ( value.kind == Kind::String && value.text.starts_with( "0x" ) );
        const std::optional<uint32_t> parsed = right ? toNumber( value.text ) : std::nullopt;
        if ( !parsed || *parsed < lowest || *parsed > highest ) {
            fail( value.offset, quoted( key ) + " must be a whole number from " +
                                    std::to_string( lowest ) + " to " + std::to_string( highest ) +
                                    " (" + hexText( lowest ) + " to " + hexText( highest ) + ")" );
        }
        return *parsed;
    }

    uint32_t numberOr( uint32_t absent, const JsonValue &object, std::string_view key,
                       uint32_t highest ) const {
        return object.find( key ) == nullptr ? absent : number( object, key, 0, highest );
    }

    uint32_t master( const JsonValue &object ) const {
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

    void addBus( const JsonValue &object ) {
        allowKeys( object, { "master", "pci", "accelerator", "bus", "chips" } );
        const BusName name = { .master = master( object ),
                               .pci = numberOr( 0, object, "pci", UINT32_MAX ),
                               .accelerator = numberOr( 0, object, "accelerator", largestField ),
                               .bus = number( object, "bus", 0, largestField ) };
        Bus *bus = board_.newBus( name );
        if ( bus == nullptr ) {
            fail( object.offset, "this master, pci, accelerator and bus were described before" );
        }
        addChips( bus->segment(), object );
    }

    void addChips( Segment &segment, const JsonValue &object ) {
        for ( const JsonValue &chip : array( object, "chips" ) ) {
            addChip( segment, chip );
        }
    }

    void addChip( Segment &segment, const JsonValue &object ) {
        allowKeys( object, { "name", "type", "address", "set", "channels" } );
        const std::string &name = string( object, "name" );
        const size_t nameOffset = object.find( "name" )->offset;
        if ( name.empty() || name.find_first_of( ". \t\r\n" ) != std::string::npos ) {
            fail( nameOffset, "a chip's name is one word without a dot" );
        }
        const ChipType &type = chipType( object );
        const auto address =
            static_cast<uint8_t>( number( object, "address", firstAddress, lastAddress ) );
        for ( const auto &other : segment.chips() ) {
            if ( other->address() == address ) {
                fail( object.find( "address" )->offset,
                      "another chip of this segment has address " + hexText( address ) );
            }
        }
        Chip *chip = board_.add( segment, name, type.create( address ) );
        if ( chip == nullptr ) {
            fail( nameOffset, "another chip is called " + quoted( name ) );
        }
        setKnobs( name, object );
        addChannels( *chip, object );
    }

    const ChipType &chipType( const JsonValue &object ) const {
        const std::string &name = string( object, "type" );
        const ChipType *type = findChipType( name );
        if ( type == nullptr ) {
            std::string known;
            for ( const ChipType &each : chipTypes() ) {
                known += ( known.empty() ? "" : ", " ) + std::string( each.name );
            }
            fail( object.find( "type" )->offset,
                  "unknown chip type " + quoted( name ) + "; known are " + known );
        }
        return *type;
    }

    void setKnobs( const std::string &chipName, const JsonValue &object ) {
        const JsonValue *knobs = object.find( "set" );
        if ( knobs == nullptr ) {
            return;
        }
        need( *knobs, Kind::Object, "'set'", "an object" );
        for ( const JsonValue::Member &member : knobs->members ) {
            std::string error;
            const std::string full = chipName + "." + member.key;
            if ( board_.findKnob( full, error ) == nullptr ) {
                fail( member.offset, error );
            }
            if ( !board_.set( full, member.value.text, error ) ) {
                fail( member.value.offset, error );
            }
        }
    }

    void addChannels( Chip &chip, const JsonValue &object ) {
        const JsonValue *channels = object.find( "channels" );
        if ( channels == nullptr ) {
            return;
        }
        if ( chip.channelCount() == 0 ) {
            fail( channels->offset, "a chip of this type has no channels" );
        }
        std::vector<bool> seen( chip.channelCount() );
        for ( const JsonValue &channel : array( object, "channels" ) ) {
            allowKeys( channel, { "channel", "chips" } );
            const uint32_t index =
                number( channel, "channel", 0, static_cast<uint32_t>( seen.size() - 1 ) );
            if ( seen[index] ) {
                fail( channel.offset, "this channel was described before" );
            }
            seen[index] = true;
            addChips( *chip.channel( index ), channel );
        }
    }

    const std::string &text_;
    const std::string &file_;
    Board board_;
};

} // namespace

Board parseBoard( const std::string &text, const std::string &file ) {
    return Loader( text, file ).load();
}

static std::string readFile( const std::string &file ) {
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

Board loadBoard( const std::string &file ) {
    return parseBoard( readFile( file ), file );
}

} // namespace EmulatedBoard
