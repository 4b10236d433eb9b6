#include "EmulatedBoard/XcvrCpld.h"

namespace EmulatedBoard {

constexpr uint8_t noRegister = 0xff;

XcvrCpld::XcvrCpld( uint8_t address ) : Chip( address ) {}

bool XcvrCpld::connect( Bit bit, XcvrModule &module, const XcvrModule::Line &line,
                        bool activeHigh ) {
    return connections_.try_emplace( bit, Connection{ &module, &line, activeHigh } ).second;
}

void XcvrCpld::powerOn() {
    pointer_ = 0;
    for ( const auto &[bit, connection] : connections_ ) {
        if ( connection.line->drive != nullptr ) {
            connection.line->drive( *connection.module, false );
        }
    }
}

void XcvrCpld::registerIs( uint8_t reg, uint8_t content ) {
    for ( auto at = connections_.lower_bound( { reg, 0 } );
          at != connections_.end() && at->first.reg == reg; ++at ) {
        const Connection &connection = at->second;
        if ( connection.line->drive != nullptr ) {
            const bool isOne = ( content >> at->first.bit & 1 ) != 0;
            connection.line->drive( *connection.module, isOne == connection.activeHigh );
        }
    }
}

bool XcvrCpld::write( std::span<const uint8_t> bytes ) {
    if ( bytes.empty() ) {
        return true;
    }
    pointer_ = bytes[0];
    for ( const uint8_t content : bytes.subspan( 1 ) ) {
        registerIs( pointer_++, content );
    }
    return true;
}

uint8_t XcvrCpld::read( size_t ) {
    const uint8_t reg = pointer_++;
    auto at = connections_.lower_bound( { reg, 0 } );
    if ( at == connections_.end() || at->first.reg != reg ) {
        return noRegister;
    }
    unsigned content = 0;
    for ( ; at != connections_.end() && at->first.reg == reg; ++at ) {
        const Connection &connection = at->second;
        const bool isAsserted = connection.line->isAsserted( *connection.module );
        content |= unsigned{ isAsserted == connection.activeHigh } << at->first.bit;
    }
    return static_cast<uint8_t>( content );
}

// What a person can turn is on the modules.
std::vector<Knob> XcvrCpld::ownKnobs() {
    return {};
}

} // namespace EmulatedBoard
