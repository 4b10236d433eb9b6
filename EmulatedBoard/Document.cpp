#include "EmulatedBoard/Document.h"

#include "EmulatedBoard/CageReader.h"
#include "EmulatedBoard/Chips.h"

#include <cstdint>
#include <utility>

namespace EmulatedBoard {

namespace {

constexpr uint32_t firstAddress = 0x03;
constexpr uint32_t lastAddress = 0x77;

class Loader : private DocumentReader {
  public:
    using DocumentReader::DocumentReader;

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
    void addBus( const JsonValue &object ) {
        allowKeys( object, { "master", "pci", "accelerator", "bus", "chips" } );
        Bus *bus = board_.newBus( busName( object ) );
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
        allowKeys( object,
                   { "name", "type", "address", "set", "on", "watches", "cages", "channels" } );
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
        mount( *chip, object );
        addWatched( *chip, object );
        addCages( *chip, object );
        addChannels( *chip, object );
    }

    // Only chips that stand above can be named, which keeps the chip itself and circles out.
    Chip &chipAbove( const JsonValue &value, const Chip &below ) const {
        need( value, Kind::String, "a chip's name", "a string" );
        Chip *found = board_.findChip( value.text );
        if ( found == nullptr || found == &below ) {
            fail( value.offset, "no chip " + quoted( value.text ) + " stands above this one" );
        }
        return *found;
    }

    void mount( Chip &chip, const JsonValue &object ) const {
        if ( const JsonValue *carrier = object.find( "on" ) ) {
            chip.mountOn( chipAbove( *carrier, chip ) );
        }
    }

    void addWatched( Chip &chip, const JsonValue &object ) const {
        const JsonValue *names = object.find( "watches" );
        if ( names == nullptr ) {
            return;
        }
        need( *names, Kind::Array, "'watches'", "an array" );
        for ( const JsonValue &name : names->items ) {
            if ( !chip.watch( chipAbove( name, chip ) ) ) {
                fail( name.offset, "this chip cannot watch " + quoted( name.text ) );
            }
        }
    }

    void addCages( Chip &chip, const JsonValue &object ) const {
        const JsonValue *cages = object.find( "cages" );
        if ( cages == nullptr ) {
            return;
        }
        auto *cpld = dynamic_cast<XcvrCpld *>( &chip );
        if ( cpld == nullptr ) {
            fail( cages->offset, "a chip of this type has no cages" );
        }
        const auto find = [&]( const JsonValue &name ) -> Chip & {
            return chipAbove( name, chip );
        };
        CageReader( *this, *cpld, find ).read( object );
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

    Board board_;
};

} // namespace

Board parseBoard( const std::string &text, const std::string &file ) {
    return Loader( text, file ).load();
}

Board loadBoard( const std::string &file ) {
    return parseBoard( readDocument( file ), file );
}

} // namespace EmulatedBoard
