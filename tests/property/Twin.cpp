#include "tests/property/Twin.h"

namespace Property {

uint8_t byteOf( const std::string &answer ) {
    return static_cast<uint8_t>( answer.at( 0 ) );
}

uint16_t wordOf( const std::string &answer ) {
    return static_cast<uint16_t>( static_cast<uint8_t>( answer.at( 1 ) ) << 8 | byteOf( answer ) );
}

std::string wordBytes( uint32_t value ) {
    return { static_cast<char>( value ), static_cast<char>( value >> 8 ) };
}

Chip &Twin::chipOf( const BoardDevice &device ) {
    return chips_.emplace( device.chip, board_.bus.chip( device.chip ) ).first->second;
}

Route Twin::routeOf( const BoardDevice &device, const Deed &deed ) {
    if ( deed.repeatedStart ) {
        repeatedStart_.insert( device.chip );
    }
    Route route = device.route;
    route.word |= repeatedStart_.contains( device.chip ) ? 1U << 21 : 0;
    return route;
}

std::vector<std::string> Twin::batch( const BoardDevice &device, const std::vector<Deed> &deeds,
                                      int executions ) {
    // A proxy leaves it to the host to try again.
    const bool isProxy = device.driver == "SmbusProxyDriver";
    notes_ += BusModel::begun( isProxy ? std::optional( 0U ) : std::nullopt );
    for ( const PathMux &mux : device.path ) {
        notes_ += BusModel::seen( mux.chip, mux.route, sendDeed( mux.control ).operation, "" );
    }
    std::vector<std::string> answers;
    for ( const Deed &deed : deeds ) {
        const Route route = routeOf( device, deed );
        answers.push_back( chipOf( device ).perform( deed.operation ) );
        notes_ += BusModel::seen( device.chip, route, deed.operation, answers.back() );
    }
    for ( int execution = 0; execution < executions; ++execution ) {
        for ( auto mux = device.path.rbegin(); mux != device.path.rend(); ++mux ) {
            // The second time, what lies behind the outermost mux cannot be reached any more.
            const bool reached = execution == 0 || mux + 1 == device.path.rend();
            const Operation reset = sendDeed( 0 ).operation;
            notes_ += reached ? BusModel::seen( mux->chip, mux->route, reset, "" )
                              : BusModel::unseen( mux->route, reset );
        }
    }
    notes_ += BusModel::ended( true );
    return answers;
}

void Twin::refusedBatch( const BoardDevice &device, const std::vector<Deed> &deeds,
                         std::size_t refused ) {
    const std::size_t selects = device.path.size();
    const auto isReset = []( const Operation &operation ) {
        return operation.type == Smbus::WRITE && operation.length == 0 && operation.reg == 0;
    };
    std::size_t ending = deeds.size();
    while ( ending > 0 && isReset( deeds[ending - 1].operation ) ) {
        --ending;
    }
    notes_ += BusModel::begun( std::nullopt );
    for ( std::size_t i = 0; i < selects && i <= refused; ++i ) {
        const PathMux &mux = device.path[i];
        const Operation select = sendDeed( mux.control ).operation;
        notes_ += i == refused ? BusModel::refused( mux.route, select )
                               : BusModel::seen( mux.chip, mux.route, select, "" );
    }
    for ( std::size_t i = 0; i < deeds.size(); ++i ) {
        const Operation &operation = deeds[i].operation;
        const Route route = routeOf( device, deeds[i] );
        if ( selects + i == refused ) {
            notes_ += BusModel::refused( route, operation );
        } else if ( selects + i < refused || ( i >= ending && refused >= selects ) ) {
            const std::string answer = chipOf( device ).perform( operation );
            notes_ += BusModel::seen( device.chip, route, operation, answer );
        } else if ( i >= ending ) {
            notes_ += BusModel::unseen( route, operation );
        }
    }
    for ( std::size_t i = selects; i-- > 0; ) {
        // Behind the mux that refused its select nobody is reached.
        const PathMux &mux = device.path[i];
        const Operation reset = sendDeed( 0 ).operation;
        notes_ += i <= refused ? BusModel::seen( mux.chip, mux.route, reset, "" )
                               : BusModel::unseen( mux.route, reset );
    }
    notes_ += BusModel::ended( true );
}

uint8_t Twin::read8( const BoardDevice &device, uint32_t reg ) {
    return byteOf( batch( device, { readDeed( reg, 1 ) } ).at( 0 ) );
}

uint16_t Twin::read16( const BoardDevice &device, uint32_t reg ) {
    return wordOf( batch( device, { readDeed( reg, 2 ) } ).at( 0 ) );
}

void Twin::write8( const BoardDevice &device, uint32_t reg, uint32_t value ) {
    batch( device, { writeDeed( reg, std::string( 1, static_cast<char>( value ) ) ) } );
}

void Twin::write16( const BoardDevice &device, uint32_t reg, uint32_t value, bool flag ) {
    batch( device, { writeDeed( reg, wordBytes( value ), flag ) } );
}

} // namespace Property
