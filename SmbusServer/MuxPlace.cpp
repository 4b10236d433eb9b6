#include "SmbusServer/MuxPlace.h"

#include <bitset>
#include <map>

namespace SmbusServer {

// Each walk over a batch is made once a mux, not once a request: a batch may have thousands.
using Chips = std::bitset<128>;

// The chips of a bus that a batch lets go of at its end.
static Chips releasedChips( const Smbus::TransactionRequest &batch, const BusName &bus ) {
    Chips chips;
    for ( int i = batch.request_size(); i-- > 0; ) {
        const Operation operation = decode( batch.request( i ) );
        if ( !operation.isDeselect() ) {
            break;
        }
        if ( operation.bus == bus ) {
            chips.set( operation.chip );
        }
    }
    return chips;
}

// The steps so far without those of a chip.
static void drop( Smbus::TransactionRequest &steps, uint8_t chip ) {
    for ( int i = steps.request_size(); i-- > 0; ) {
        if ( decode( steps.request( i ) ).chip == chip ) {
            steps.mutable_request()->DeleteSubrange( i, 1 );
        }
    }
}

static MuxPlace placeOf( const Smbus::TransactionRequest &batch, int index, const Chips &muxes ) {
    const Operation own = decode( batch.request( index ) );
    MuxPlace place{ .bus = own.bus, .steps = {} };
    for ( int i = 0; i < index; ++i ) {
        const Operation before = decode( batch.request( i ) );
        if ( !before.isSendByte() || before.bus != own.bus || before.chip == own.chip ||
             !muxes.test( before.chip ) ) {
            continue;
        }
        drop( place.steps, before.chip );
        if ( before.reg != 0 ) {
            *place.steps.add_request() = batch.request( i );
        }
    }
    Smbus::Request &deselect = *place.steps.add_request();
    deselect = batch.request( index );
    constexpr uint64_t registerMask = 0xffffffff;
    deselect.set_address( deselect.address() & ~registerMask );
    return place;
}

std::optional<MuxPlace> muxSwitchedBy( const Smbus::TransactionRequest &batch, int index ) {
    const Operation operation = decode( batch.request( index ) );
    if ( !operation.isSendByte() ) {
        return std::nullopt;
    }
    const Chips muxes = releasedChips( batch, operation.bus );
    return muxes.test( operation.chip ) ? std::optional( placeOf( batch, index, muxes ) )
                                        : std::nullopt;
}

std::vector<MuxPlace> muxesOf( const Smbus::TransactionRequest &batch ) {
    std::vector<MuxPlace> places;
    std::map<BusName, Chips> remaining; // muxes that no place has yet
    for ( int i = 0; i < batch.request_size(); ++i ) {
        const Operation operation = decode( batch.request( i ) );
        if ( !operation.isSendByte() || operation.reg == 0 ) {
            continue;
        }
        const auto [muxes, isNew] = remaining.try_emplace( operation.bus );
        if ( isNew ) {
            muxes->second = releasedChips( batch, operation.bus );
        }
        if ( muxes->second.test( operation.chip ) ) {
            places.push_back( placeOf( batch, i, releasedChips( batch, operation.bus ) ) );
            muxes->second.reset( operation.chip );
        }
    }
    return places;
}

bool MuxPlace::isOnWayOf( const Smbus::TransactionRequest &batch ) const {
    const Operation first = decode( steps.request( 0 ) );
    for ( const Smbus::Request &each : batch.request() ) {
        const Operation operation = decode( each );
        if ( operation.isSendByte() && operation.chip == first.chip && operation.bus == bus ) {
            return true;
        }
    }
    return false;
}

bool operator==( const MuxPlace &a, const MuxPlace &b ) {
    return a.bus == b.bus && a.steps.SerializeAsString() == b.steps.SerializeAsString();
}

} // namespace SmbusServer
