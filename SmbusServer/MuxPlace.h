#pragma once

#include "SmbusServer/Wiring.h"

#include <bitset>
#include <optional>
#include <vector>

namespace SmbusServer {

/// A send-byte to a mux: its select, or with the value 0 its deselect.
struct MuxStep {
    uint8_t chip = 0;
    uint32_t value = 0;
    uint8_t width = 1; ///< bytes that the value takes on the wires
    bool pec = false;
    Operation on( const BusName &bus ) const;
    bool operator==( const MuxStep & ) const = default;
};

/// A mux, and how to reach it on its wires.
struct MuxPlace {
    /// The selects that lead to the mux, outermost first, and last the mux's own deselect.
    std::vector<MuxStep> steps;

    /// Whether nothing needs to be selected to reach it.
    bool isRoot() const { return steps.size() == 1; }
    /// The steps as requests on a bus.
    Smbus::TransactionRequest requestsOn( const BusName &bus ) const;
    /// The mux in front of this one that the step selects.
    MuxPlace onWay( size_t step ) const;
    bool operator==( const MuxPlace & ) const = default;
};

/// A batch, looked at for the muxes that it switches on the wires of one bus.
///
/// A mux is a chip that the batch selects, and lets go of at its end, in its trailing run of
/// send-bytes of 0. Any other chip's send-bytes mean something else. What is selected before a mux
/// leads to it, unless the wiring knows better.
class MuxBatch {
  public:
    /// @param batch must outlive the object.
    MuxBatch( const Smbus::TransactionRequest &batch, const BusName &bus, const Wiring &wiring );

    /// Each mux, once for each way on which the batch selects it.
    /// @param most the walk ends when there are so many.
    std::vector<MuxPlace> muxes( size_t most ) const;
    /// The mux that a request switches, if it does, on the way that is selected then.
    /// @param stop the request whose failure ended the batch. Those behind it were not performed,
    ///             but for the trailing run.
    std::optional<MuxPlace> switchedBy( int index, int stop ) const;
    /// Whether a request before this one selects the chip.
    bool isSelected( uint8_t chip, int before ) const;
    /// Whether the chip gets a send-byte.
    bool switches( uint8_t chip ) const;

  private:
    struct Switch {
        int index;
        MuxStep step;
    };
    using Chips = std::bitset<128>;

    MuxPlace placeOf( std::vector<MuxStep> way, MuxStep own ) const;

    std::vector<Switch> switches_; // the send-bytes to muxes, in order
    Chips sentTo_;                 // all chips that get a send-byte
    Chips roots_;                  // what is known to be in front of all others
    int trailing_;                 // index of the first request of the trailing run
};

} // namespace SmbusServer
