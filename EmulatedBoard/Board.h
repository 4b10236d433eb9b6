#pragma once

#include "EmulatedBoard/Bus.h"

#include <compare>
#include <cstdint>
#include <map>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace EmulatedBoard {

/// What a client addresses a bus by.
struct BusName {
    uint32_t master = 0; ///< kind of controller, the number that the wire uses
    uint32_t pci = 0;    ///< location of the controller, 0 for none
    uint32_t accelerator = 0;
    uint32_t bus = 0;
    auto operator<=>( const BusName & ) const = default;
};

/// Busses with their chips, and the world that the chips are in.
class Board {
  public:
    /// @return null when the board has that bus already.
    Bus *newBus( const BusName &name );
    /// @return null when the board has no such bus.
    Bus *findBus( const BusName &name );
    const std::map<BusName, std::unique_ptr<Bus>> &busses() const { return busses_; }

    /// Puts a chip on a segment of this board.
    /// @param name unique on the board, no dot in it; its knobs become "name.knob".
    /// @return null when the name is taken.
    Chip *add( Segment &segment, std::string name, std::unique_ptr<Chip> chip );

    /// @return null when no chip has that name.
    Chip *findChip( std::string_view name ) const;

    struct NamedKnob {
        std::string name; ///< "inlet.temperature"
        Knob knob;
    };
    /// All knobs, chip by chip in the order in which they were added.
    const std::vector<NamedKnob> &knobs() const { return knobs_; }
    /// @param[out] error when there is none: what there is in its place.
    const NamedKnob *findKnob( std::string_view name, std::string &error ) const;

    /// @return false with error telling why.
    bool get( std::string_view name, std::string &value, std::string &error ) const;
    bool set( std::string_view name, std::string_view value, std::string &error );

  private:
    std::map<BusName, std::unique_ptr<Bus>> busses_;
    struct NamedChip {
        std::string name;
        Chip *chip;
    };
    std::vector<NamedChip> chips_;
    std::vector<NamedKnob> knobs_;
};

/// "it takes -55 to 125 °C", for a value that set() refused.
std::string allowedText( const Knob &knob );

} // namespace EmulatedBoard
