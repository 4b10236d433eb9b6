#pragma once

#include "SmbusServer/MuxPlace.h"

#include <cstddef>
#include <cstdint>
#include <optional>
#include <vector>

namespace SmbusServer {

/// What is known of the muxes on some wires: which of them are off, and which are in doubt because
/// they may have a channel on. A mux that is neither has not been met, or has been forgotten.
class MuxStates {
  public:
    /// Clients must not make the lists grow. What is off may be forgotten: it is then in doubt
    /// again when it is next met. What is in doubt may not: crowded() tells when to stop.
    static constexpr size_t mostOff = 256;
    static constexpr size_t mostInDoubt = 64;
    /// A mux that says nothing before so many batches is taken for pulled. Power turns its channels
    /// off.
    static constexpr int mostSilences = 16;

    /// Why a mux is in doubt.
    enum class Doubt {
        Failed, ///< it did not take a select or deselect, or somebody else may have switched it
        Unmet   ///< a batch is about to use it, and nothing is known of it
    };

    /// What is known ends when the controller has been away: all that was met is in doubt then, and
    /// so are the muxes that are known to be in front of all others.
    void openingIs( uint64_t opening, const std::vector<uint8_t> &rootMuxes );

    bool isOff( const MuxPlace &place ) const;
    void inDoubt( const MuxPlace &place, Doubt doubt );

    /// The mux in doubt that is to be cleared next: the outermost that was not tried yet.
    std::optional<MuxPlace> next( const std::vector<MuxPlace> &tried ) const;
    /// Whether it was silent or not reached before.
    bool wasTriedInVain( const MuxPlace &place ) const;

    /// How a try ended: it is off now.
    void off( const MuxPlace &place );
    /// It is reached and says nothing.
    void silent( const MuxPlace &place );
    /// What is in front of it does not lead there.
    void unreached( const MuxPlace &place );

    size_t countInDoubt() const { return inDoubt_.size(); }
    /// So many are in doubt that no further one may become so.
    bool crowded() const { return inDoubt_.size() >= mostInDoubt; }

  private:
    struct Entry {
        MuxPlace place;
        Doubt doubt;
        int silences = 0;
        bool triedInVain = false;
    };

    uint64_t opening_ = 0;
    std::vector<Entry> inDoubt_;
    std::vector<MuxPlace> off_; // the one cleared longest ago first
};

} // namespace SmbusServer
