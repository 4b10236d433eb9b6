#include "SmbusServer/EmulatedBackend.h"

#include "SmbusServer/PacketErrorCode.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <endian.h>
#include <initializer_list>
#include <span>

namespace SmbusServer {

using EmulatedBoard::Bus;

static Cause toCause( Bus::Result result ) {
    switch ( result ) {
    case Bus::Result::Done:
        return Cause::None;
    case Bus::Result::NoAcknowledge:
        return Cause::NoAcknowledge;
    case Bus::Result::BadCount:
        return Cause::BadBlockCount;
    }
    return Cause::NoAcknowledge;
}

static std::span<uint8_t> sized( std::string &text, size_t length ) {
    text.resize( length );
    return { reinterpret_cast<uint8_t *>( text.data() ), length };
}

EmulatedBackend::EmulatedBackend( EmulatedBoard::Board &board ) : board_( board ) {}

inline Bus *EmulatedBackend::find( const BusName &name ) {
    if ( lastBus_ == nullptr || name != lastName_ ) {
        lastName_ = name;
        lastBus_ = board_.findBus( { .master = static_cast<uint32_t>( name.master ),
                                     .pci = name.pci,
                                     .accelerator = name.accelerator,
                                     .bus = name.bus } );
    }
    return lastBus_;
}

bool EmulatedBackend::severalAccelerators( const BusName &name ) const {
    return std::ranges::any_of( board_.busses(), [&]( const auto &entry ) {
        const EmulatedBoard::BusName &other = entry.first;
        return other.master == static_cast<uint32_t>( name.master ) && other.pci == name.pci &&
               other.accelerator != name.accelerator;
    } );
}

using Bytes = std::span<const uint8_t>;

// Over all that travels: the address with the direction's bit, and what follows it.
static uint8_t codeOf( uint8_t chip, Bytes out, std::initializer_list<Bytes> in ) {
    const auto write = static_cast<uint8_t>( chip << 1 );
    const auto read = static_cast<uint8_t>( write | 1 );
    uint8_t code =
        out.empty() ? uint8_t{ 0 } : packetErrorCode( out, packetErrorCode( { &write, 1 } ) );
    if ( in.size() > 0 ) {
        code = packetErrorCode( { &read, 1 }, code );
    }
    for ( const Bytes each : in ) {
        code = packetErrorCode( each, code );
    }
    return code;
}

static Cause readBlock( Bus &bus, const Operation &operation, Bytes out, std::string &read ) {
    std::array<uint8_t, Bus::largestBlock> block;
    size_t count = 0;
    uint8_t code = 0;
    const Bus::Result result =
        bus.writeReadBlock( operation.chip, out, block, count, operation.pec ? &code : nullptr );
    read.assign( reinterpret_cast<const char *>( block.data() ), count );
    if ( result == Bus::Result::Done && operation.pec ) {
        const auto announced = static_cast<uint8_t>( count );
        const Bytes data( block.data(), count );
        if ( code != codeOf( operation.chip, out, { { &announced, 1 }, data } ) ) {
            return Cause::BadPacketErrorCode;
        }
    }
    return toCause( result );
}

// Without bytes to send first: a receive byte.
static Bus::Result transfer( Bus &bus, uint8_t chip, Bytes out, std::span<uint8_t> in ) {
    return out.empty() ? bus.read( chip, in ) : bus.writeRead( chip, out, in );
}

static Cause readWithCode( Bus &bus, uint8_t chip, Bytes out, size_t length, std::string &read ) {
    const std::span<uint8_t> in = sized( read, length + 1 );
    const Bus::Result result = transfer( bus, chip, out, in );
    const bool right = in.back() == codeOf( chip, out, { in.first( length ) } );
    read.pop_back();
    return result != Bus::Result::Done ? toCause( result )
           : right                     ? Cause::None
                                       : Cause::BadPacketErrorCode;
}

static Cause readBytes( Bus &bus, const Operation &operation, Bytes out, size_t length,
                        std::string &read ) {
    return operation.pec ? readWithCode( bus, operation.chip, out, length, read )
                         : toCause( transfer( bus, operation.chip, out, sized( read, length ) ) );
}

// What is sent first, or is all that is sent: the register, and what follows it in a write.
inline Bytes EmulatedBackend::outgoing( const Operation &operation ) {
    const unsigned width = operation.registerWidth;
    const uint32_t highFirst = htobe32( operation.reg << 8 * ( sizeof operation.reg - width ) );
    memcpy( register_.data(), &highFirst, sizeof highFirst );
    const bool hasCount = operation.type == Smbus::BLOCK_WRITE;
    const bool hasCode = operation.pec && ( operation.type == Smbus::WRITE || hasCount );
    if ( operation.data.empty() && !hasCount && !hasCode ) {
        return { register_.data(), width };
    }
    out_.assign( register_.begin(), register_.begin() + width );
    if ( hasCount ) {
        out_.push_back( static_cast<uint8_t>( operation.length ) );
    }
    out_.insert( out_.end(), operation.data.begin(), operation.data.end() );
    if ( hasCode ) {
        out_.push_back( codeOf( operation.chip, out_, {} ) );
    }
    return out_;
}

Cause EmulatedBackend::perform( const Operation &operation, std::string &read ) {
    Bus *bus = find( operation.bus );
    if ( bus == nullptr ) {
        return Cause::NoSuchBus;
    }
    const Bytes out = outgoing( operation );
    switch ( operation.type ) {
    case Smbus::READ:
        return operation.length == 0 ? readBytes( *bus, operation, {}, 1, read )
                                     : readBytes( *bus, operation, out, operation.length, read );
    case Smbus::PROCESS_CALL:
        return readBytes( *bus, operation, out, 2, read );
    case Smbus::BLOCK_READ:
        return readBlock( *bus, operation, out, read );
    case Smbus::WRITE:
    case Smbus::BLOCK_WRITE:
        return toCause( bus->write( operation.chip, out ) );
    }
    return Cause::UnknownRequest;
}

} // namespace SmbusServer
