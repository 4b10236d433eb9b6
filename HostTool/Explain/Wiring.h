#pragma once

#include "HostTool/Explain/Traffic.h"

#include <cstdint>
#include <deque>
#include <map>
#include <string>
#include <vector>

namespace HostTool::Explain {

struct Mux;

/// The wires that a controller or the channel of a mux leads to.
struct Segment {
    std::string label;
    std::vector<Mux *> muxes;
};

struct Mux {
    unsigned did;
    std::string label;
    unsigned chip;                          ///< 7-bit address
    std::map<unsigned, Segment *> channels; ///< by identifier, which is the byte that selects it
};

/// What a request is to the muxes of its bus.
struct Role {
    enum class What { access, select, deselect } what = What::access;
    const Mux *mux = nullptr;         ///< null for an access
    const Segment *channel = nullptr; ///< that is selected; null also when nobody has named it
};

/// The busses and muxes of a board, as its topology names them.
class Wiring {
  public:
    /// @param topology a document of whatever shape: the library is the judge of that.
    explicit Wiring( const std::string &topology );
    Wiring( const Wiring & ) = delete;
    Wiring &operator=( const Wiring & ) = delete;

    /// Empty when the topology has no such bus.
    std::string labelOf( const BusName &bus ) const;
    /// "SCD pci 0x00000300 accelerator 0 bus 1 (scd0-bus1)".
    std::string describe( const BusName &bus ) const;
    /// One role a request.
    std::vector<Role> rolesIn( const Transaction &transaction ) const;

  private:
    friend class WiringBuilder;

    std::deque<Segment> segments_;
    std::deque<Mux> muxes_;
    std::map<BusName, const Segment *> busses_;
};

} // namespace HostTool::Explain
