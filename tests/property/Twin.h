#pragma once

#include "tests/property/Board.h"

#include <map>
#include <set>
#include <string>
#include <utility>
#include <vector>

namespace Property {

/// An operation as a driver queues it.
struct Deed {
    Operation operation;
    bool repeatedStart = false; ///< asked for by this read, and kept by the device from then on
};

inline Deed readDeed( uint32_t reg, uint32_t length ) {
    return { { Smbus::READ, reg, length, {}, false }, false };
}
inline Deed writeDeed( uint32_t reg, std::string bytes, bool flag = false ) {
    const auto length = static_cast<uint32_t>( bytes.size() );
    return { { Smbus::WRITE, reg, length, std::move( bytes ), flag }, false };
}
inline Deed sendDeed( uint8_t value, bool flag = false ) {
    return { { Smbus::WRITE, value, 0, {}, flag }, false };
}

/// What is expected of a board: the chips' own copies, and the notes that the bus is to make.
class Twin {
  public:
    explicit Twin( const Board &board ) : board_( board ) {}

    /// A batch to a device.
    /// @param executions resets are queued again each time that a batch is sent unprepared
    /// @return the chip's answers
    std::vector<std::string> batch( const BoardDevice &device, const std::vector<Deed> &deeds,
                                    int executions = 1 );

    /// A batch of which a chip refuses a request, counted from the first mux's select on. Nothing
    /// behind it is done but the sends of 0 that the batch ends with, as far as they reach.
    void refusedBatch( const BoardDevice &device, const std::vector<Deed> &deeds,
                       std::size_t refused );

    uint8_t read8( const BoardDevice &device, uint32_t reg );
    uint16_t read16( const BoardDevice &device, uint32_t reg );
    void write8( const BoardDevice &device, uint32_t reg, uint32_t value );
    void write16( const BoardDevice &device, uint32_t reg, uint32_t value, bool flag = false );

    std::string takeNotes() { return std::exchange( notes_, {} ); }

  private:
    Chip &chipOf( const BoardDevice &device );
    Route routeOf( const BoardDevice &device, const Deed &deed );

    const Board &board_;
    std::map<BusModel::ChipId, Chip> chips_;
    std::set<BusModel::ChipId> repeatedStart_;
    std::string notes_;
};

uint8_t byteOf( const std::string &answer );
uint16_t wordOf( const std::string &answer );
std::string wordBytes( uint32_t value );

} // namespace Property
