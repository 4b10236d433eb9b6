// The first byte of a write sets the address counter, which both reading and writing move on. A
// read wraps at the end of the part, a write at the end of its page of 8 bytes.
#include "EmulatedBoard/Eeprom24c02.h"

#include "EmulatedBoard/FruImage.h"
#include "EmulatedBoard/TlvImage.h"

#include <algorithm>
#include <charconv>
#include <cstdio>
#include <optional>
#include <system_error>

namespace EmulatedBoard {

namespace {

constexpr unsigned pageMask = 0x07;
constexpr uint8_t erased = 0xff;
constexpr size_t longestField = 40; // all of them fit into the part in either format
constexpr size_t digitsPerByte = 2;

std::vector<uint8_t> fruOf( const std::string &manufacturer, const std::string &model,
                            const std::string &revision, const std::string &serial ) {
    const std::array<std::string, 7> fields = { manufacturer, model, model, revision, serial };
    return fruImage( fields );
}

// Supplies have the model as their part number; the product name of the format is the same again.
std::vector<uint8_t> tlvOf( const std::string &manufacturer, const std::string &model,
                            const std::string &revision, const std::string &serial ) {
    const std::array<Tlv, 5> entries = { { { Tlv::productName, model },
                                           { Tlv::partNumber, model },
                                           { Tlv::serialNumber, serial },
                                           { Tlv::manufacturer, manufacturer },
                                           { Tlv::labelRevision, revision } } };
    return tlvImage( entries );
}

struct Format {
    std::string_view name;
    std::vector<uint8_t> ( *make )( const std::string &manufacturer, const std::string &model,
                                    const std::string &revision, const std::string &serial );
};
constexpr Format formats[] = { { "fru", fruOf }, { "tlv", tlvOf } };

const Format *findFormat( std::string_view name ) {
    const auto *found = std::ranges::find( formats, name, &Format::name );
    return found == std::end( formats ) ? nullptr : found;
}

std::optional<uint8_t> hexByte( std::string_view digits ) {
    uint8_t value = 0;
    const char *end = digits.data() + digits.size();
    const auto parsed = std::from_chars( digits.data(), end, value, 16 );
    const bool isWhole = !digits.empty() && parsed.ec == std::errc() && parsed.ptr == end;
    return isWhole ? std::optional( value ) : std::nullopt;
}

struct Patch {
    size_t offset = 0;
    std::vector<uint8_t> bytes;
};

/// @param text "0a1b", from offset 0, or "2a:0a1b", from that hexadecimal offset.
std::optional<Patch> parsePatch( std::string_view text ) {
    Patch patch;
    if ( const size_t colon = text.find( ':' ); colon != std::string_view::npos ) {
        const std::optional<uint8_t> offset = hexByte( text.substr( 0, colon ) );
        if ( !offset ) {
            return std::nullopt;
        }
        patch.offset = *offset;
        text.remove_prefix( colon + 1 );
    }
    if ( text.empty() || text.size() % digitsPerByte != 0 ) {
        return std::nullopt;
    }
    for ( size_t at = 0; at < text.size(); at += digitsPerByte ) {
        const std::optional<uint8_t> byte = hexByte( text.substr( at, digitsPerByte ) );
        if ( !byte ) {
            return std::nullopt;
        }
        patch.bytes.push_back( *byte );
    }
    const bool fits = patch.offset + patch.bytes.size() <= Eeprom24c02::size;
    return fits ? std::optional( patch ) : std::nullopt;
}

/// Without the erased bytes at its end.
std::string hexText( std::span<const uint8_t> bytes ) {
    while ( !bytes.empty() && bytes.back() == erased ) {
        bytes = bytes.first( bytes.size() - 1 );
    }
    std::string text;
    for ( const uint8_t byte : bytes ) {
        std::array<char, 4> digits;
        snprintf( digits.data(), digits.size(), "%02x", byte );
        text += digits.data();
    }
    return text;
}

} // namespace

Eeprom24c02::Eeprom24c02( uint8_t address ) : Chip( address ) {
    rebuild();
}

void Eeprom24c02::powerOn() {
    pointer_ = 0;
}

void Eeprom24c02::rebuild() {
    const std::vector<uint8_t> image =
        findFormat( format_ )->make( manufacturer_, model_, revision_, serial_ );
    bytes_.fill( erased );
    std::ranges::copy( image, bytes_.begin() );
}

bool Eeprom24c02::write( std::span<const uint8_t> bytes ) {
    if ( bytes.empty() ) {
        return true;
    }
    pointer_ = bytes[0];
    for ( const uint8_t byte : bytes.subspan( 1 ) ) {
        bytes_[pointer_] = byte;
        const unsigned inPage = ( pointer_ + 1U ) & pageMask;
        pointer_ = static_cast<uint8_t>( ( pointer_ & ~pageMask ) | inPage );
    }
    return true;
}

uint8_t Eeprom24c02::read( size_t ) {
    return bytes_[pointer_++];
}

Knob Eeprom24c02::fieldKnob( const char *name, const char *help, std::string &field ) {
    return textKnob(
        name, help, longestField, [&field] { return field; },
        [this, &field]( std::string text ) {
            field = std::move( text );
            rebuild();
        } );
}

Knob Eeprom24c02::formatKnob() {
    return { .name = "format",
             .unit = {},
             .help = "how the fields are laid out: an IPMI FRU inventory or ONIE TlvInfo",
             .allowed = "fru or tlv",
             .get = [this] { return format_; },
             .set =
                 [this]( std::string_view text ) {
                     const Format *format = findFormat( text );
                     if ( format == nullptr ) {
                         return false;
                     }
                     format_ = text;
                     rebuild();
                     return true;
                 } };
}

Knob Eeprom24c02::imageKnob() {
    return { .name = "image",
             .unit = {},
             .help = "the bytes; those that are set stay until a field or the format is set",
             .allowed = "two hexadecimal digits a byte, from 0 or behind OFFSET: from there",
             .get = [this] { return hexText( bytes_ ); },
             .set =
                 [this]( std::string_view text ) {
                     const std::optional<Patch> patch = parsePatch( text );
                     if ( patch ) {
                         const auto start = static_cast<std::ptrdiff_t>( patch->offset );
                         std::ranges::copy( patch->bytes, bytes_.begin() + start );
                     }
                     return patch.has_value();
                 } };
}

std::vector<Knob> Eeprom24c02::ownKnobs() {
    return { formatKnob(),
             fieldKnob( "manufacturer", "who made the supply", manufacturer_ ),
             fieldKnob( "model", "model of the supply; also its part number", model_ ),
             fieldKnob( "revision", "version of the supply", revision_ ),
             fieldKnob( "serial", "serial number of the supply", serial_ ),
             imageKnob() };
}

} // namespace EmulatedBoard
