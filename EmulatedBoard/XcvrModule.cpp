#include "EmulatedBoard/XcvrModule.h"

#include <algorithm>
#include <numeric>
#include <utility>

namespace EmulatedBoard {

XcvrModule::XcvrModule( uint8_t address, const Layout &layout )
    : Chip( address ), layout_( layout ) {
    rebuild();
}

void XcvrModule::powerOn() {
    pointer_ = 0;
}

void XcvrModule::rebuild() {
    bytes_.fill( 0 );
    for ( const FixedByte &fixed : layout_.fixed ) {
        bytes_[fixed.offset] = fixed.value;
    }
    const std::pair<TextField, const std::string &> fields[] = {
        { layout_.manufacturer, manufacturer_ },
        { layout_.model, model_ },
        { layout_.revision, revision_ },
        { layout_.serial, serial_ },
    };
    for ( const auto &[where, text] : fields ) {
        std::fill_n( bytes_.begin() + where.offset, where.length, ' ' );
        std::copy_n( text.begin(), std::min<size_t>( text.size(), where.length ),
                     bytes_.begin() + where.offset );
    }
    for ( const CheckCode &code : layout_.checkCodes ) {
        const unsigned sum =
            std::accumulate( bytes_.begin() + code.first, bytes_.begin() + code.last + 1, 0U );
        bytes_[code.offset] = static_cast<uint8_t>( sum );
    }
}

bool XcvrModule::write( std::span<const uint8_t> bytes ) {
    if ( !bytes.empty() ) {
        pointer_ = bytes[0];
    }
    return true;
}

uint8_t XcvrModule::read( size_t ) {
    return byteAt( pointer_++ );
}

Knob XcvrModule::fieldKnob( const char *name, const char *help, TextField where,
                            std::string &field ) {
    return textKnob(
        name, help, where.length, [&field] { return field; },
        [this, &field]( std::string text ) {
            field = std::move( text );
            rebuild();
        } );
}

Knob XcvrModule::drivenKnob( const char *name, const char *help, const bool &line ) {
    return readOnlyKnob( name, "", help, [&line] { return std::string( line ? "1" : "0" ); } );
}

Knob XcvrModule::worldKnob( const char *name, const char *help, bool &value ) {
    return switchKnob(
        name, help, [&value] { return value; }, [&value]( bool isSo ) { value = isSo; } );
}

std::vector<Knob> XcvrModule::ownKnobs() {
    std::vector<Knob> knobs = lineKnobs();
    knobs.push_back(
        fieldKnob( "manufacturer", "who made the module", layout_.manufacturer, manufacturer_ ) );
    knobs.push_back( fieldKnob( "model", "part number of the module", layout_.model, model_ ) );
    knobs.push_back(
        fieldKnob( "revision", "version of the module", layout_.revision, revision_ ) );
    knobs.push_back(
        fieldKnob( "serial", "serial number of the module", layout_.serial, serial_ ) );
    return knobs;
}

} // namespace EmulatedBoard
