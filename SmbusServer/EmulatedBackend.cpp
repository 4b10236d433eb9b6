#include "SmbusServer/EmulatedBackend.h"

#include <algorithm>
#include <array>
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

Bus *EmulatedBackend::find( const BusName &name ) {
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

static Cause readBlock( Bus &bus, uint8_t chip, std::span<const uint8_t> out, std::string &read ) {
    std::array<uint8_t, Bus::largestBlock> block;
    size_t count = 0;
    const Cause cause = toCause( bus.writeReadBlock( chip, out, block, count ) );
    read.assign( reinterpret_cast<const char *>( block.data() ), count );
    return cause;
}

Cause EmulatedBackend::perform( const Operation &operation, std::string &read ) {
    Bus *bus = find( operation.bus );
    if ( bus == nullptr ) {
        return Cause::NoSuchBus;
    }
    out_.clear();
    for ( unsigned byte = operation.registerWidth; byte-- > 0; ) {
        out_.push_back( static_cast<uint8_t>( operation.reg >> ( 8 * byte ) ) );
    }
    if ( operation.type == Smbus::BLOCK_WRITE ) {
        out_.push_back( static_cast<uint8_t>( operation.length ) );
    }
    out_.insert( out_.end(), operation.data.begin(), operation.data.end() );

    const uint8_t chip = operation.chip;
    switch ( operation.type ) {
    case Smbus::READ:
        return operation.length == 0
                   ? toCause( bus->read( chip, sized( read, 1 ) ) )
                   : toCause( bus->writeRead( chip, out_, sized( read, operation.length ) ) );
    case Smbus::PROCESS_CALL:
        return toCause( bus->writeRead( chip, out_, sized( read, 2 ) ) );
    case Smbus::BLOCK_READ:
        return readBlock( *bus, chip, out_, read );
    case Smbus::WRITE:
    case Smbus::BLOCK_WRITE:
        return toCause( bus->write( chip, out_ ) );
    }
    return Cause::UnknownRequest;
}

} // namespace SmbusServer
