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

static void appendKind( std::string &text, const Operation &operation ) {
    struct Kind {
        Smbus::RequestType type;
        std::array<const char *, 4> byLength; // the last for all longer ones
    };
    static constexpr Kind kinds[] = {
        { Smbus::READ, { "receive byte", "read byte", "read word", "I2C block read" } },
        { Smbus::WRITE, { "send byte", "write byte", "write word", "I2C block write" } },
        { Smbus::PROCESS_CALL, { "", "", "process call", "" } },
        { Smbus::BLOCK_READ, { "block read", "block read", "block read", "block read" } },
        { Smbus::BLOCK_WRITE, { "block write", "block write", "block write", "block write" } },
    };
    const auto *kind = std::ranges::find( kinds, operation.type, &Kind::type );
    append( text, ": %s", kind->byLength[std::min<size_t>( operation.length, 3 )] );
    if ( operation.length > 2 ) {
        append( text, " of %u bytes", operation.length );
    }
    if ( operation.registerWidth > 1 ) {
        append( text, ", register of %u bytes", unsigned{ operation.registerWidth } );
    }
    text += operation.pec ? ", with a packet error code" : "";
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
    } else if ( cause == Cause::NotSupported ) {
        appendKind( text, failed );
    }
    return text;
}

} // namespace SmbusServer
