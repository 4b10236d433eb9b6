#pragma once

#include "EmulatedBoard/Segment.h"

#include <cstdint>
#include <span>
#include <vector>

namespace EmulatedBoard {

/// A controller's bus: the first segment and everything that muxes join to it. The controller
/// moves bytes; which SMBus protocol they make up is a matter of their number:
///
///     quick write     write()
///     send byte       write( command )
///     write byte      write( command, byte )             word: two bytes, the low one first
///     block write     write( command, count, bytes… )    I2C block: without the count
///     receive byte    read( 1 )
///     read byte       writeRead( command; 1 )            word: 2; I2C block: any number
///     process call    writeRead( command, low, high; 2 )
///     block read      writeReadBlock( command )          the chip gives the count first
///
/// Chips that answer to one address together pull the wires low together: their data is and-ed.
class Bus {
  public:
    enum class Result {
        Done,
        NoAcknowledge,
        BadCount, ///< a block read whose count is above 32
    };
    static constexpr size_t largestBlock = 32;

    Result write( uint8_t address, std::span<const uint8_t> bytes );
    /// Fills in.
    Result read( uint8_t address, std::span<uint8_t> in );
    /// A write and, after a repeated start, a read. Fills in.
    Result writeRead( uint8_t address, std::span<const uint8_t> out, std::span<uint8_t> in );
    /// @param[out] count bytes put in the front of in.
    /// @param[out] behind if not null, the byte that the chip drives behind the block.
    Result writeReadBlock( uint8_t address, std::span<const uint8_t> out,
                           std::span<uint8_t, largestBlock> in, size_t &count,
                           uint8_t *behind = nullptr );

    Segment &segment() { return segment_; }
    const Segment &segment() const { return segment_; }

  private:
    bool start( uint8_t address );
    bool send( std::span<const uint8_t> bytes );
    uint8_t receive( size_t position );
    void receive( std::span<uint8_t> in );

    Segment segment_;
    std::vector<Chip *> listening_; // kept between transfers for its memory
};

} // namespace EmulatedBoard
