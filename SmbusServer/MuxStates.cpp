#include "SmbusServer/MuxStates.h"

#include <algorithm>
#include <utility>

namespace SmbusServer {

void MuxStates::openingIs( uint64_t opening, const std::vector<uint8_t> &rootMuxes ) {
    if ( std::exchange( opening_, opening ) == opening ) {
        return;
    }
    for ( const uint8_t chip : rootMuxes ) {
        inDoubt( { { { .chip = chip } } }, Doubt::Failed );
    }
    for ( const MuxPlace &place : std::exchange( off_, {} ) ) {
        inDoubt( place, Doubt::Failed );
    }
    for ( Entry &each : inDoubt_ ) {
        each.silences = 0;
        each.triedInVain = false;
    }
}

bool MuxStates::isOff( const MuxPlace &place ) const {
    return std::ranges::find( off_, place ) != off_.end();
}

void MuxStates::inDoubt( const MuxPlace &place, Doubt doubt ) {
    std::erase( off_, place );
    const auto entry = std::ranges::find( inDoubt_, place, &Entry::place );
    if ( entry == inDoubt_.end() ) {
        inDoubt_.push_back( { place, doubt } );
    } else if ( doubt == Doubt::Failed ) {
        entry->doubt = doubt;
    }
}

// One after the other from the outside: what is behind a mux is reached for sure only if no other
// one lets a chip of the same address answer.
std::optional<MuxPlace> MuxStates::next( const std::vector<MuxPlace> &tried ) const {
    const MuxPlace *outermost = nullptr;
    for ( const Entry &each : inDoubt_ ) {
        if ( std::ranges::find( tried, each.place ) == tried.end() &&
             ( outermost == nullptr || each.place.steps.size() < outermost->steps.size() ) ) {
            outermost = &each.place;
        }
    }
    return outermost == nullptr ? std::nullopt : std::optional( *outermost );
}

bool MuxStates::wasTriedInVain( const MuxPlace &place ) const {
    const auto entry = std::ranges::find( inDoubt_, place, &Entry::place );
    return entry != inDoubt_.end() && entry->triedInVain;
}

void MuxStates::off( const MuxPlace &place ) {
    std::erase_if( inDoubt_, [&]( const Entry &each ) { return each.place == place; } );
    std::erase( off_, place );
    if ( off_.size() == mostOff ) {
        off_.erase( off_.begin() );
    }
    off_.push_back( place );
}

void MuxStates::silent( const MuxPlace &place ) {
    const auto entry = std::ranges::find( inDoubt_, place, &Entry::place );
    if ( entry == inDoubt_.end() ) {
        return;
    }
    entry->triedInVain = true;
    if ( ++entry->silences == mostSilences ) {
        inDoubt_.erase( entry );
    }
}

// Nothing tells that it has no power: it stays in doubt, unless a batch has only named it.
void MuxStates::unreached( const MuxPlace &place ) {
    const auto entry = std::ranges::find( inDoubt_, place, &Entry::place );
    if ( entry == inDoubt_.end() ) {
        return;
    }
    entry->triedInVain = true;
    if ( entry->doubt == Doubt::Unmet ) {
        inDoubt_.erase( entry );
    }
}

} // namespace SmbusServer
