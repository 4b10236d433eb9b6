#pragma once

#include "SmbusServer/Operation.h"

#include <optional>
#include <vector>

namespace SmbusServer {

/// A mux, and how to reach it.
struct MuxPlace {
    BusName bus;
    /// The selects that lead to the mux, outermost first, and last the mux's own deselect.
    Smbus::TransactionRequest steps;

    /// Whether a batch switches the first mux on the way to this one.
    bool isOnWayOf( const Smbus::TransactionRequest &batch ) const;
    friend bool operator==( const MuxPlace &a, const MuxPlace &b );
};

/// The mux that a request switches. A mux is a chip that the batch lets go of at its end, in its
/// trailing run of send-bytes of 0; any other chip's send-bytes mean something else.
std::optional<MuxPlace> muxSwitchedBy( const Smbus::TransactionRequest &batch, int index );

/// Every mux that a batch selects, by the way on which it first does.
std::vector<MuxPlace> muxesOf( const Smbus::TransactionRequest &batch );

} // namespace SmbusServer
