#include "EmulatedBoard/CageReader.h"

#include <algorithm>

namespace EmulatedBoard {

constexpr uint32_t lastRegister = 0xff;
constexpr uint32_t lastBit = 7;
constexpr uint32_t bitsPerRegister = 8;

void CageReader::read( const JsonValue &object ) {
    for ( const JsonValue &group : reader_.array( object, "cages" ) ) {
        readGroup( group );
    }
}

void CageReader::readGroup( const JsonValue &group ) {
    reader_.allowKeys( group, { "modules", "lines" } );
    const std::vector<XcvrModule *> found = modules( group );
    const JsonValue &lines = reader_.needKey( group, "lines" );
    reader_.need( lines, JsonValue::Kind::Object, "'lines'", "an object" );
    for ( const JsonValue::Member &entry : lines.members ) {
        connect( entry, found );
    }
}

XcvrModule &CageReader::module( const JsonValue &name ) {
    auto *found = dynamic_cast<XcvrModule *>( &findChip_( name ) );
    if ( found == nullptr ) {
        reader_.fail( name.offset, quoted( name.text ) + " is no module" );
    }
    if ( std::find( inCages_.begin(), inCages_.end(), found ) != inCages_.end() ) {
        reader_.fail( name.offset, quoted( name.text ) + " is in another cage" );
    }
    inCages_.push_back( found );
    return *found;
}

std::vector<XcvrModule *> CageReader::modules( const JsonValue &group ) {
    const JsonValue &names = reader_.needKey( group, "modules" );
    reader_.need( names, JsonValue::Kind::Array, "'modules'", "an array" );
    std::vector<XcvrModule *> found;
    for ( const JsonValue &name : names.items ) {
        found.push_back( &module( name ) );
        if ( found.back()->lines().data() != found.front()->lines().data() ) {
            reader_.fail( name.offset,
                          quoted( name.text ) + " does not fit into the cages of this group" );
        }
    }
    if ( found.empty() ) {
        reader_.fail( names.offset, "'modules' must name a module for each cage" );
    }
    return found;
}

const XcvrModule::Line &CageReader::findLine( const JsonValue::Member &entry,
                                              const XcvrModule &module ) const {
    const std::span<const XcvrModule::Line> lines = module.lines();
    const auto line = std::find_if( lines.begin(), lines.end(),
                                    [&]( const auto &each ) { return each.name == entry.key; } );
    if ( line == lines.end() ) {
        std::string known;
        for ( const XcvrModule::Line &each : lines ) {
            known += ( known.empty() ? "" : ", " ) + std::string( each.name );
        }
        reader_.fail( entry.offset,
                      "these cages have no line " + quoted( entry.key ) + "; there are " + known );
    }
    return *line;
}

bool CageReader::isActiveHigh( const JsonValue &entry ) const {
    const std::string &active = reader_.string( entry, "active" );
    if ( active != "high" && active != "low" ) {
        reader_.fail( entry.find( "active" )->offset, "'active' must be 'high' or 'low'" );
    }
    return active == "high";
}

void CageReader::connect( const JsonValue::Member &entry,
                          const std::vector<XcvrModule *> &modules ) const {
    const XcvrModule::Line &line = findLine( entry, *modules.front() );
    reader_.need( entry.value, JsonValue::Kind::Object, quoted( entry.key ), "an object" );
    reader_.allowKeys( entry.value, { "register", "bit", "active" } );
    const uint32_t firstRegister = reader_.number( entry.value, "register", 0, lastRegister );
    uint32_t bit =
        firstRegister * bitsPerRegister + reader_.numberOr( 0, entry.value, "bit", lastBit );
    const bool activeHigh = isActiveHigh( entry.value );
    for ( XcvrModule *module : modules ) {
        const uint32_t reg = bit / bitsPerRegister;
        if ( reg > lastRegister ) {
            reader_.fail( entry.offset, "the last of " + quoted( entry.key ) +
                                            " is behind register " + hexText( lastRegister ) );
        }
        const XcvrCpld::Bit place{ static_cast<uint8_t>( reg ),
                                   static_cast<uint8_t>( bit % bitsPerRegister ) };
        if ( !cpld_.connect( place, *module, line, activeHigh ) ) {
            reader_.fail( entry.offset, "bit " + std::to_string( place.bit ) + " of register " +
                                            hexText( reg ) + " has a line already" );
        }
        ++bit;
    }
}

} // namespace EmulatedBoard
