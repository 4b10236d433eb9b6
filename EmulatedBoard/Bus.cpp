#include "EmulatedBoard/Bus.h"

namespace EmulatedBoard {

// The private ones are inline: a transfer is a few of them, and a batch is many transfers.
inline bool Bus::start( uint8_t address ) {
    listening_.clear();
    segment_.collect( address, listening_ );
    return !listening_.empty();
}

// One chip that pulls the acknowledge bit low is enough.
inline bool Bus::send( std::span<const uint8_t> bytes ) {
    bool acknowledged = false;
    for ( Chip *chip : listening_ ) {
        acknowledged = chip->write( bytes ) || acknowledged;
    }
    return acknowledged;
}

inline uint8_t Bus::receive( size_t position ) {
    unsigned wires = 0xff;
    for ( Chip *chip : listening_ ) {
        wires &= chip->read( position );
    }
    return static_cast<uint8_t>( wires );
}

inline void Bus::receive( std::span<uint8_t> in ) {
    size_t position = 0;
    if ( listening_.size() == 1 ) { // as it should be, and the quickest
        Chip &only = *listening_.front();
        for ( uint8_t &each : in ) {
            each = only.read( position++ );
        }
        return;
    }
    for ( uint8_t &each : in ) {
        each = receive( position++ );
    }
}

Bus::Result Bus::write( uint8_t address, std::span<const uint8_t> bytes ) {
    return start( address ) && send( bytes ) ? Result::Done : Result::NoAcknowledge;
}

Bus::Result Bus::read( uint8_t address, std::span<uint8_t> in ) {
    if ( !start( address ) ) {
        return Result::NoAcknowledge;
    }
    receive( in );
    return Result::Done;
}

Bus::Result Bus::writeRead( uint8_t address, std::span<const uint8_t> out, std::span<uint8_t> in ) {
    const Result written = write( address, out );
    if ( written == Result::Done ) {
        // A mux switches at the stop: the chips that listened to the write are those that answer.
        receive( in );
    }
    return written;
}

Bus::Result Bus::writeReadBlock( uint8_t address, std::span<const uint8_t> out,
                                 std::span<uint8_t, largestBlock> in, size_t &count,
                                 uint8_t *behind ) {
    count = 0;
    const Result written = write( address, out );
    if ( written != Result::Done ) {
        return written;
    }
    const size_t announced = receive( 0 );
    if ( announced > largestBlock ) {
        return Result::BadCount;
    }
    for ( ; count < announced; ++count ) {
        in[count] = receive( count + 1 );
    }
    if ( behind != nullptr ) {
        *behind = receive( count + 1 );
    }
    return Result::Done;
}

} // namespace EmulatedBoard
