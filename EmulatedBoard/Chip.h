#pragma once

#include "EmulatedBoard/Knob.h"

#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <vector>

namespace EmulatedBoard {

class Segment;

/// A part on a bus. The bus side is what the two wires carry, so that one chip serves every SMBus
/// protocol; the world side is its knobs.
class Chip {
  public:
    explicit Chip( uint8_t address );
    Chip( const Chip & ) = delete;
    Chip &operator=( const Chip & ) = delete;
    virtual ~Chip() = default;

    /// 7-bit address on the bus.
    uint8_t address() const { return address_; }
    /// A chip that is not there answers nothing; it comes back as after power-on.
    bool present() const;
    void presentIs( bool present );
    /// Whether the chip acknowledges its address at this moment.
    virtual bool answers() const { return present(); }
    /// Puts the chip on a part that is plugged in as a whole: from now on it is there only as long
    /// as the carrier is. The carrier must live as long as the chip and must not be on it.
    void mountOn( Chip &carrier );
    /// Makes the chip follow another one, which must live as long as it does.
    /// @return false when a chip of this type does not follow the other, or follows enough already.
    virtual bool watch( const Chip &other );

    /// The bytes that follow the address in a write, the command first; empty for a quick command.
    /// @return false when the chip does not acknowledge them.
    virtual bool write( std::span<const uint8_t> bytes ) = 0;
    /// The byte that the chip drives in a read.
    /// @param position counts from 0 at each (repeated) start.
    virtual uint8_t read( size_t position ) = 0;

    /// How many segments the chip can join to the one it sits on; 0 for all but muxes.
    virtual size_t channelCount() const { return 0; }
    /// @param channel less than channelCount().
    virtual Segment *channel( size_t channel );
    virtual bool channelOn( size_t channel ) const;

    /// Every knob of the chip; they refer to the chip and die with it.
    std::vector<Knob> knobs();

  protected:
    /// Registers to their power-on values. The world stays as it is.
    virtual void powerOn() = 0;
    virtual std::vector<Knob> ownKnobs() = 0;

  private:
    void getPower();

    uint8_t address_;
    bool present_ = true;
    const Chip *carrier_ = nullptr; // null: soldered to the board
    std::vector<Chip *> carried_;
};

} // namespace EmulatedBoard
