#include "SmbusServer/MuxGuard.h"

#include "SmbusServer/FailureText.h"

#include <algorithm>
#include <set>
#include <tuple>
#include <utility>

namespace SmbusServer {

/// Keeps the sum over all wires right, whatever happens to some of them in a block.
class MuxGuard::Count {
  public:
    Count( const Wires &wires, std::atomic<size_t> &sum )
        : wires_( wires ), sum_( sum ), before_( wires.muxes.countInDoubt() ) {}
    Count( const Count & ) = delete;
    Count &operator=( const Count & ) = delete;
    ~Count() { sum_ += wires_.muxes.countInDoubt() - before_; }

  private:
    const Wires &wires_;
    std::atomic<size_t> &sum_;
    const size_t before_;
};

MuxGuard::MuxGuard( Backend &below, Wiring &wiring ) : below_( below ), wiring_( wiring ) {}

bool MuxGuard::severalAccelerators( const BusName &bus ) const {
    return below_.severalAccelerators( bus );
}

std::string MuxGuard::begins( const Smbus::TransactionRequest &request ) {
    std::string refused = below_.begins( request );
    const bool nothingToDo = wiring_.startsOff() && inDoubt_ == 0;
    return nothingToDo || !refused.empty() ? refused : makeReady( request );
}

// Every bus of the batch is made ready and cleared, also when one before it holds the batch back.
std::string MuxGuard::makeReady( const Smbus::TransactionRequest &request ) {
    std::string refused;
    std::set<BusName> done;
    for ( const Smbus::Request &each : request.request() ) {
        const BusName bus = decode( each ).bus;
        if ( !done.insert( bus ).second ) {
            continue;
        }
        // Without its controller the batch fails by itself.
        Wires *wires = wiresOf( bus );
        const uint64_t opening = wires == nullptr ? 0 : wiring_.open( bus );
        if ( opening == 0 ) {
            continue;
        }
        wires->name = bus;
        const Count count( *wires, inDoubt_ );
        wires->muxes.openingIs( opening, wiring_.rootMuxesOf( bus ) );
        const std::string reason = clearFor( MuxBatch( request, bus, wiring_ ), *wires );
        refused = refused.empty() ? reason : refused;
    }
    return refused;
}

std::string MuxGuard::clearFor( const MuxBatch &batch, Wires &wires ) {
    constexpr size_t most = MuxStates::mostInDoubt;
    const std::vector<MuxPlace> used = batch.muxes( most + 1 );
    const char *tooMany = "more muxes may have a channel on than the server keeps in mind";
    if ( used.size() > most ) {
        return tooMany;
    }
    for ( const MuxPlace &place : used ) {
        if ( !wiring_.startsOff() && !wires.muxes.isOff( place ) ) {
            wires.muxes.inDoubt( place, MuxStates::Doubt::Unmet );
        }
    }
    const std::string refused = clearAll( wires, &batch );
    return refused.empty() && !used.empty() && wires.muxes.crowded() ? tooMany : refused;
}

// @return why the batch must not be performed.
std::string MuxGuard::clearAll( Wires &wires, const MuxBatch *batch ) {
    using Outcome = MuxClearing::Outcome;
    std::string refused;
    std::vector<MuxPlace> tried;
    bool rootMayBeOn = false;
    while ( const auto place = wires.muxes.next( tried ) ) {
        // Behind other muxes the wrong chip could answer, and pass for a mux that has let go.
        if ( rootMayBeOn && !place->isRoot() && batch != nullptr ) {
            break;
        }
        tried.push_back( *place );
        const bool onWay = batch != nullptr && batch->switches( place->steps.front().chip );
        const bool briefly = !onWay && wires.muxes.wasTriedInVain( *place );
        const MuxClearing clearing = clearMux( below_, wires.name, *place, briefly );
        for ( const MuxPlace &outer : clearing.leftOpen ) {
            wires.muxes.inDoubt( outer, MuxStates::Doubt::Failed );
            std::erase( tried, outer );
        }
        bool inTheWay = false;
        switch ( clearing.outcome ) {
        case Outcome::Off:
            wires.muxes.off( *place );
            break;
        case Outcome::Silent:
            wires.muxes.silent( *place );
            break;
        case Outcome::Unreached:
            wires.muxes.unreached( *place );
            inTheWay = onWay;
            break;
        case Outcome::Refused:
            inTheWay = onWay || place->isRoot();
            rootMayBeOn = rootMayBeOn || place->isRoot();
            break;
        }
        if ( inTheWay && refused.empty() ) {
            refused = refusal( *place, clearing, wires.name );
        }
    }
    return refused;
}

std::string MuxGuard::refusal( const MuxPlace &place, const MuxClearing &clearing,
                               const BusName &bus ) const {
    const std::string failure =
        failureText( place.requestsOn( bus ), static_cast<int>( clearing.step ),
                     below_.severalAccelerators( bus ), clearing.cause );
    return clearing.outcome == MuxClearing::Outcome::Refused
               ? "a mux that may have a channel on cannot be told to let go: " + failure
               : failure;
}

void MuxGuard::letGo() {
    for ( auto &[key, wires] : wires_ ) {
        if ( wires.muxes.countInDoubt() != 0 && wiring_.wiresOf( wires.name ) == key &&
             wiring_.open( wires.name ) != 0 ) {
            const Count count( wires, inDoubt_ );
            clearAll( wires, nullptr );
        }
    }
}

Cause MuxGuard::perform( const Operation &operation, std::string &read ) {
    const Cause cause = below_.perform( operation, read );
    failures_.attempted( operation, cause );
    return cause;
}

// A mux that had not been selected when the batch ended is as it was before: its deselect was not
// needed.
void MuxGuard::ends( const Smbus::TransactionRequest &request,
                     const Smbus::TransactionResponse &response ) {
    below_.ends( request, response );
    const auto failures = failures_.take( request );
    std::map<BusName, MuxBatch> batches;
    std::set<std::tuple<BusName, uint8_t, bool>> done;
    for ( const BatchFailures::Failure &failure : failures ) {
        const int stop = failures.front().index;
        const Operation operation = decode( request.request( failure.index ) );
        const bool deselect = operation.isDeselect();
        if ( !operation.isSendByte() ||
             !done.insert( { operation.bus, operation.chip, deselect } ).second ) {
            continue;
        }
        const MuxBatch &batch =
            batches.try_emplace( operation.bus, request, operation.bus, wiring_ ).first->second;
        const bool mayBeOn =
            deselect ? batch.isSelected( operation.chip, stop ) : failure.reachedWires;
        const auto place = batch.switchedBy( failure.index, stop );
        if ( mayBeOn && place ) {
            isInDoubt( *place, operation.bus );
        }
    }
}

void MuxGuard::isInDoubt( const MuxPlace &place, const BusName &bus ) {
    Wires &wires = newWiresOf( bus );
    const Count count( wires, inDoubt_ );
    wires.muxes.inDoubt( place, MuxStates::Doubt::Failed );
}

MuxGuard::Wires &MuxGuard::newWiresOf( const BusName &bus ) {
    const std::lock_guard lock( mutex_ );
    return wires_.try_emplace( wiring_.wiresOf( bus ), Wires{ .name = bus, .muxes = {} } )
        .first->second;
}

// Clients can make up any number of names: what starts off needs no entry before something fails.
MuxGuard::Wires *MuxGuard::wiresOf( const BusName &bus ) {
    const std::string key = wiring_.wiresOf( bus );
    if ( key.empty() ) {
        return nullptr;
    }
    if ( !wiring_.startsOff() ) {
        return &newWiresOf( bus );
    }
    const std::lock_guard lock( mutex_ );
    const auto found = wires_.find( key );
    return found == wires_.end() ? nullptr : &found->second;
}

} // namespace SmbusServer
