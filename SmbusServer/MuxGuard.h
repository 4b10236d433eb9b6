#pragma once

#include "SmbusServer/Backend.h"
#include "SmbusServer/MuxPlace.h"

#include <atomic>
#include <cstdint>
#include <map>
#include <mutex>
#include <set>
#include <string>
#include <utility>
#include <vector>

namespace SmbusServer {

/// Sees to it that no batch meets a channel that an earlier one left on.
///
/// A mux whose select or deselect failed is in a state that nobody knows. Before the next batch
/// that uses its bus it is told to let go. A mux that refuses, and still answers, makes the batch
/// fail: a chip behind it could answer in the place of another. One that answers nothing at all
/// has no power and no channel on, and holds nobody up. Either is tried again before further
/// batches.
class MuxGuard : public Backend {
  public:
    /// What is known of the muxes before the first batch. Real ones may be as a server that was
    /// killed has left them: each is told to let go before the first batch that selects it.
    enum class AtStart { AllOff, Unknown };

    /// @param below must outlive the guard.
    MuxGuard( Backend &below, AtStart atStart );

    /// Tells every mux to let go whose state is not known. To be called when no batch is in hand.
    void letGo();

    std::string begins( const Smbus::TransactionRequest &request ) override;
    void ends( const Smbus::TransactionRequest &request,
               const Smbus::TransactionResponse &response ) override;
    Cause perform( const Operation &operation, std::string &read ) override;
    bool severalAccelerators( const BusName &bus ) const override;

  private:
    enum class Outcome { Off, Silent, Refused };

    using Chip = std::pair<BusName, uint8_t>;

    void noteFailure( const Operation &operation );
    void noteNew( const Smbus::TransactionRequest &request );
    std::string clearAll( const Smbus::TransactionRequest *request );
    std::optional<MuxPlace> nextUnknown( const Smbus::TransactionRequest *request,
                                         const std::vector<MuxPlace> &tried ) const;
    void isUnknown( const MuxPlace &place );
    void isKnown( const MuxPlace &place );
    void isSilent( const MuxPlace &place );
    Cause attempt( const Smbus::Request &request );
    Outcome clear( const MuxPlace &place, Cause &cause );
    Outcome release( const Smbus::Request &deselect, Cause &cause );
    void closeWay( const MuxPlace &place, int opened );
    std::string refusal( const MuxPlace &place, Cause cause ) const;

    Backend &below_;
    const AtStart atStart_;
    std::atomic<bool> anyUnknown_ = false;
    std::atomic<bool> anyFailed_ = false;
    mutable std::mutex mutex_; // guards what follows
    struct Unknown {
        MuxPlace place;
        int silences = 0; // how often it was tried and answered nothing
    };
    std::vector<Unknown> unknown_;
    std::map<const Smbus::TransactionRequest *, std::set<Chip>> failed_; // in batches in hand
    std::vector<MuxPlace> seen_; // only if the muxes are unknown at the start
};

} // namespace SmbusServer
