#pragma once

#include "SmbusServer/Operation.h"

#include <cstdint>
#include <string>
#include <vector>

namespace SmbusServer {

/// What can be said of the wires behind bus names, for whoever watches over the muxes on them.
///
/// Calls about some wires come from the thread that has them.
class Wiring {
  public:
    virtual ~Wiring() = default;

    /// Whether every mux is off until the server switches it. Nobody knows that of real ones: what
    /// used them before may have left a channel on.
    virtual bool startsOff() const = 0;
    /// Equal for names of the same wires, and the same for as long as the server runs, whatever the
    /// names are then. Empty: the name stands for no wires.
    virtual std::string wiresOf( const BusName &bus ) const = 0;
    /// Makes the controller of a bus ready, for a batch or for what comes between batches. If it is
    /// not there now it stays away until the next call: no batch runs half before and half after.
    /// @return 0 when there is none; otherwise a number that changes whenever the controller has
    ///         been away and its muxes may have been switched by somebody else.
    virtual uint64_t open( const BusName &bus ) = 0;
    /// The addresses of the muxes in front of all others, as far as they are known.
    virtual std::vector<uint8_t> rootMuxesOf( const BusName &bus ) const = 0;

    bool sameWires( const BusName &a, const BusName &b ) const {
        return a == b || wiresOf( a ) == wiresOf( b );
    }
};

/// Each name has wires of its own, which nobody else can reach: an emulated board, a recording.
class PrivateWiring : public Wiring {
  public:
    bool startsOff() const override { return true; }
    std::string wiresOf( const BusName &bus ) const override;
    uint64_t open( const BusName & ) override { return 1; }
    std::vector<uint8_t> rootMuxesOf( const BusName & ) const override { return {}; }
};

} // namespace SmbusServer
