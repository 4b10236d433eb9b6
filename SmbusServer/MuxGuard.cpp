#include "SmbusServer/MuxGuard.h"

#include "SmbusServer/FailureText.h"

#include <algorithm>

namespace SmbusServer {

// A switch has fewer muxes; a client must not make the lists grow.
constexpr size_t mostUnknown = 32;
constexpr size_t mostSeen = 256;
// After so many batches a mux that says nothing is taken for pulled. Power turns its channels off.
constexpr int mostSilences = 16;
constexpr int attempts = 4;

static bool uses( const Smbus::TransactionRequest &batch, const BusName &bus ) {
    return std::any_of( batch.request().begin(), batch.request().end(),
                        [&]( const Smbus::Request &each ) { return decode( each ).bus == bus; } );
}

MuxGuard::MuxGuard( Backend &below, AtStart atStart ) : below_( below ), atStart_( atStart ) {}

std::string MuxGuard::begins( const Smbus::TransactionRequest &request ) {
    if ( atStart_ == AtStart::Unknown ) {
        noteNew( request );
    }
    const std::string refused = anyUnknown_ ? clearAll( &request ) : std::string();
    std::string below = below_.begins( request );
    return refused.empty() ? below : refused;
}

void MuxGuard::letGo() {
    clearAll( nullptr );
}

// Those that concern a batch, or all. Inner muxes first: clearing one may leave an outer one
// unknown, whose turn then comes. @return why the batch must not be performed.
std::string MuxGuard::clearAll( const Smbus::TransactionRequest *request ) {
    std::string refused;
    std::vector<MuxPlace> tried;
    while ( const auto place = nextUnknown( request, tried ) ) {
        tried.push_back( *place );
        Cause cause = Cause::None;
        const Outcome outcome = clear( *place, cause );
        const bool inTheWay =
            place->steps.request_size() == 1 || request == nullptr || place->isOnWayOf( *request );
        if ( outcome == Outcome::Off ) {
            isKnown( *place );
        } else if ( outcome == Outcome::Silent ) {
            isSilent( *place );
        } else if ( inTheWay && refused.empty() ) {
            refused = refusal( *place, cause );
        }
    }
    return refused;
}

void MuxGuard::ends( const Smbus::TransactionRequest &request,
                     const Smbus::TransactionResponse &response ) {
    below_.ends( request, response );
    if ( anyFailed_ ) {
        const std::lock_guard guard( mutex_ );
        failed_.erase( &request );
        anyFailed_ = !failed_.empty();
    }
}

bool MuxGuard::severalAccelerators( const BusName &bus ) const {
    return below_.severalAccelerators( bus );
}

Cause MuxGuard::perform( const Operation &operation, std::string &read ) {
    const Cause cause = below_.perform( operation, read );
    // What no attempt can change has not reached the wires.
    if ( mayPass( cause ) && operation.isSendByte() && operation.batch != nullptr ) {
        noteFailure( operation );
    }
    return cause;
}

// A mux that lets go when it is tried again is told to do so once more than needed.
void MuxGuard::noteFailure( const Operation &operation ) {
    {
        const std::lock_guard guard( mutex_ );
        const Chip chip{ operation.bus, operation.chip };
        anyFailed_ = true;
        if ( !failed_[operation.batch].insert( chip ).second ) {
            return;
        }
    }
    if ( const auto place = muxSwitchedBy( *operation.batch, operation.index ) ) {
        isUnknown( *place );
    }
}

void MuxGuard::noteNew( const Smbus::TransactionRequest &request ) {
    for ( const MuxPlace &place : muxesOf( request ) ) {
        {
            const std::lock_guard guard( mutex_ );
            if ( seen_.size() == mostSeen || std::ranges::find( seen_, place ) != seen_.end() ) {
                continue;
            }
            seen_.push_back( place );
        }
        isUnknown( place );
    }
}

std::optional<MuxPlace> MuxGuard::nextUnknown( const Smbus::TransactionRequest *request,
                                               const std::vector<MuxPlace> &tried ) const {
    const std::lock_guard guard( mutex_ );
    const MuxPlace *innermost = nullptr;
    for ( const Unknown &each : unknown_ ) {
        const bool isOpen = std::ranges::find( tried, each.place ) == tried.end() &&
                            ( request == nullptr || uses( *request, each.place.bus ) );
        if ( isOpen && ( innermost == nullptr ||
                         each.place.steps.request_size() > innermost->steps.request_size() ) ) {
            innermost = &each.place;
        }
    }
    return innermost == nullptr ? std::nullopt : std::optional( *innermost );
}

void MuxGuard::isUnknown( const MuxPlace &place ) {
    const std::lock_guard guard( mutex_ );
    if ( std::ranges::find( unknown_, place, &Unknown::place ) == unknown_.end() ) {
        if ( unknown_.size() == mostUnknown ) {
            unknown_.erase( unknown_.begin() );
        }
        unknown_.push_back( { place } );
    }
    anyUnknown_ = true;
}

void MuxGuard::isKnown( const MuxPlace &place ) {
    const std::lock_guard guard( mutex_ );
    std::erase_if( unknown_, [&]( const Unknown &each ) { return each.place == place; } );
    anyUnknown_ = !unknown_.empty();
}

void MuxGuard::isSilent( const MuxPlace &place ) {
    const std::lock_guard guard( mutex_ );
    const auto entry = std::ranges::find( unknown_, place, &Unknown::place );
    if ( entry != unknown_.end() && ++entry->silences == mostSilences ) {
        unknown_.erase( entry );
        anyUnknown_ = !unknown_.empty();
    }
}

Cause MuxGuard::attempt( const Smbus::Request &request ) {
    std::string unread;
    Cause cause = Cause::None;
    for ( int i = 0; i < attempts; ++i ) {
        cause = below_.perform( decode( request ), unread );
        if ( !mayPass( cause ) ) {
            break;
        }
    }
    return cause;
}

// A read without a command gives the control register.
MuxGuard::Outcome MuxGuard::release( const Smbus::Request &deselect, Cause &cause ) {
    Operation readControl = decode( deselect );
    readControl.type = Smbus::READ;
    Outcome outcome = Outcome::Silent;
    std::string channels;
    for ( int i = 0; i < attempts; ++i ) {
        cause = below_.perform( decode( deselect ), channels );
        if ( cause == Cause::None ) {
            return Outcome::Off;
        }
        const Cause probed = below_.perform( readControl, channels );
        if ( probed == Cause::None && channels == std::string( 1, '\0' ) ) {
            return Outcome::Off;
        }
        if ( probed != Cause::NoAcknowledge ) {
            outcome = Outcome::Refused;
        }
    }
    return outcome;
}

MuxGuard::Outcome MuxGuard::clear( const MuxPlace &place, Cause &cause ) {
    const int last = place.steps.request_size() - 1;
    int opened = 0;
    // What is behind a mux that does not switch reaches nobody.
    Outcome outcome = Outcome::Silent;
    while ( opened < last && attempt( place.steps.request( opened ) ) == Cause::None ) {
        ++opened;
    }
    if ( opened == last ) {
        outcome = release( place.steps.request( last ), cause );
    }
    closeWay( place, std::min( opened + 1, last ) );
    return outcome;
}

void MuxGuard::closeWay( const MuxPlace &place, int opened ) {
    while ( opened-- > 0 ) {
        MuxPlace outer{ .bus = place.bus, .steps = {} };
        for ( int i = 0; i <= opened; ++i ) {
            *outer.steps.add_request() = place.steps.request( i );
        }
        Smbus::Request &deselect = *outer.steps.mutable_request( opened );
        constexpr uint64_t registerMask = 0xffffffff;
        deselect.set_address( deselect.address() & ~registerMask );
        if ( attempt( deselect ) == Cause::None ) {
            isKnown( outer );
        } else {
            isUnknown( outer );
        }
    }
}

std::string MuxGuard::refusal( const MuxPlace &place, Cause cause ) const {
    return "a mux that may have a channel on cannot be told to let go: " +
           failureText( place.steps, place.steps.request_size() - 1,
                        below_.severalAccelerators( place.bus ), cause );
}

} // namespace SmbusServer
