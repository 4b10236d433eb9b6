#include "SmbusServer/MuxPlace.h"

#include <algorithm>

namespace SmbusServer {

Operation MuxStep::on( const BusName &bus ) const {
    return { .bus = bus,
             .chip = chip,
             .reg = value,
             .registerWidth = width,
             .type = Smbus::WRITE,
             .pec = pec };
}

Smbus::TransactionRequest MuxPlace::requestsOn( const BusName &bus ) const {
    Smbus::TransactionRequest requests;
    for ( const MuxStep &step : steps ) {
        *requests.add_request() = encode( step.on( bus ) );
    }
    return requests;
}

MuxPlace MuxPlace::onWay( size_t step ) const {
    MuxPlace outer;
    outer.steps.assign( steps.begin(), steps.begin() + static_cast<ptrdiff_t>( step ) + 1 );
    outer.steps.back().value = 0;
    return outer;
}

static MuxStep stepOf( const Operation &operation ) {
    return { operation.chip, operation.reg, operation.registerWidth, operation.pec };
}

static int trailingRunOf( const Smbus::TransactionRequest &batch ) {
    int start = batch.request_size();
    while ( start > 0 && decode( batch.request( start - 1 ) ).isDeselect() ) {
        --start;
    }
    return start;
}

MuxBatch::MuxBatch( const Smbus::TransactionRequest &batch, const BusName &bus,
                    const Wiring &wiring )
    : trailing_( trailingRunOf( batch ) ) {
    for ( const uint8_t chip : wiring.rootMuxesOf( bus ) ) {
        roots_.set( chip );
    }
    Chips selected;
    Chips released;
    for ( int i = 0; i < batch.request_size(); ++i ) {
        const Operation operation = decode( batch.request( i ) );
        if ( !operation.isSendByte() || !wiring.sameWires( operation.bus, bus ) ) {
            continue;
        }
        switches_.push_back( { i, stepOf( operation ) } );
        sentTo_.set( operation.chip );
        if ( operation.reg != 0 ) {
            selected.set( operation.chip );
        } else if ( i >= trailing_ ) {
            released.set( operation.chip );
        }
    }
    std::erase_if( switches_, [muxes = selected & released]( const Switch &each ) {
        return !muxes.test( each.step.chip );
    } );
}

// What is selected after a step that was not before, or otherwise.
static void take( std::vector<MuxStep> &way, const MuxStep &step ) {
    std::erase_if( way, [&]( const MuxStep &each ) { return each.chip == step.chip; } );
    if ( step.value != 0 ) {
        way.push_back( step );
    }
}

MuxPlace MuxBatch::placeOf( std::vector<MuxStep> way, MuxStep own ) const {
    own.value = 0;
    take( way, own );
    if ( roots_.test( own.chip ) ) {
        way.clear();
    }
    way.push_back( own );
    return { std::move( way ) };
}

std::vector<MuxPlace> MuxBatch::muxes( size_t most ) const {
    std::vector<MuxPlace> places;
    std::vector<MuxStep> way;
    for ( const Switch &each : switches_ ) {
        if ( each.step.value != 0 ) {
            MuxPlace place = placeOf( way, each.step );
            if ( std::ranges::find( places, place ) == places.end() ) {
                places.push_back( std::move( place ) );
            }
        }
        if ( places.size() == most ) {
            break;
        }
        take( way, each.step );
    }
    return places;
}

std::optional<MuxPlace> MuxBatch::switchedBy( int index, int stop ) const {
    std::vector<MuxStep> way;
    for ( const Switch &each : switches_ ) {
        if ( each.index == index ) {
            return placeOf( std::move( way ), each.step );
        }
        if ( each.index <= stop || each.index >= trailing_ ) {
            take( way, each.step );
        }
    }
    return std::nullopt;
}

bool MuxBatch::isSelected( uint8_t chip, int before ) const {
    return std::ranges::any_of( switches_, [&]( const Switch &each ) {
        return each.step.chip == chip && each.step.value != 0 && each.index < before;
    } );
}

bool MuxBatch::switches( uint8_t chip ) const {
    return sentTo_.test( chip );
}

} // namespace SmbusServer
