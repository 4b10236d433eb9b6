#include "SmbusServer/FailureText.h"

#include "SmbusServer/Operation.h"

#include <algorithm>
#include <array>
#include <cstdarg>
#include <cstdio>
#include <vector>

namespace SmbusServer {

struct Selection {
    uint8_t chip;
    uint32_t value;
};

static std::vector<Selection> muxPath( const Smbus::TransactionRequest &batch, int index ) {
    const Operation failed = decode( batch.request( index ) );
    std::vector<Selection> path;
    for ( int i = 0; i < index; ++i ) {
        const Operation before = decode( batch.request( i ) );
        if ( !before.isSendByte() || before.bus != failed.bus || before.chip == failed.chip ) {
            continue;
        }
        std::erase_if( path, [&]( const Selection &each ) { return each.chip == before.chip; } );
        if ( before.reg != 0 ) {
            path.push_back( { before.chip, before.reg } );
        }
    }
    return path;
}

__attribute__( ( format( printf, 2, 3 ) ) ) static void append( std::string &text,
                                                                const char *format, ... ) {
    std::array<char, 64> part;
    va_list arguments;
    va_start( arguments, format );
    vsnprintf( part.data(), part.size(), format, arguments );
    va_end( arguments );
    text += part.data();
}

static void appendBus( std::string &text, const BusName &name ) {
    const std::string &master = Smbus::MasterType_Name( name.master );
    append( text, " (master %s, pci 0x%08x, accelerator %u)", master.c_str(), name.pci,
            unsigned{ name.accelerator } );
}

std::string failureText( const Smbus::TransactionRequest &batch, int index, bool nameAccelerator,
                         Cause cause ) {
    const Operation failed = decode( batch.request( index ) );
    std::string text;
    if ( nameAccelerator || failed.bus.accelerator != 0 ) {
        append( text, "accelerator %u ", unsigned{ failed.bus.accelerator } );
    }
    append( text, "bus %u ", unsigned{ failed.bus.bus } );
    for ( const Selection &mux : muxPath( batch, index ) ) {
        append( text, "mux 0x%02x=%02x ", unsigned{ mux.chip }, mux.value );
    }
    append( text, "chip 0x%02x reg 0x%02x: ", unsigned{ failed.chip }, failed.reg );
    text += causeText( cause );
    if ( cause == Cause::NoSuchBus ) {
        appendBus( text, failed.bus );
    }
    return text;
}

} // namespace SmbusServer
