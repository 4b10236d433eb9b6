#pragma once

#include "KavraUtil/Smbus.pb.h"

#include <cstdint>
#include <initializer_list>
#include <string>

/// Requests as a test writes them, for a chip on bus 0 of a plain I2C master.
namespace Requests {

inline Smbus::Request request( Smbus::RequestType type, unsigned chip, uint32_t reg,
                               unsigned length, const std::string &data = {} ) {
    Smbus::Request made;
    made.set_address( uint64_t{ chip } << 32 | reg );
    made.set_type( type );
    made.set_length( length );
    made.set_mastertype( Smbus::I2C );
    if ( !data.empty() )
        made.set_data( data );
    return made;
}

inline Smbus::Request sendByte( unsigned chip, unsigned value ) {
    return request( Smbus::WRITE, chip, value, 0 );
}

inline Smbus::Request receiveByte( unsigned chip ) {
    return request( Smbus::READ, chip, 0, 0 );
}

inline Smbus::Request readBytes( unsigned chip, unsigned reg, unsigned length ) {
    return request( Smbus::READ, chip, reg, length );
}

inline Smbus::Request writeBytes( unsigned chip, unsigned reg, const std::string &data ) {
    return request( Smbus::WRITE, chip, reg, static_cast<unsigned>( data.size() ), data );
}

inline Smbus::Request processCall( unsigned chip, unsigned reg, const std::string &data ) {
    return request( Smbus::PROCESS_CALL, chip, reg, 2, data );
}

inline Smbus::Request blockRead( unsigned chip, unsigned reg ) {
    return request( Smbus::BLOCK_READ, chip, reg, 0 );
}

inline Smbus::Request blockWrite( unsigned chip, unsigned reg, const std::string &data ) {
    return request( Smbus::BLOCK_WRITE, chip, reg, static_cast<unsigned>( data.size() ), data );
}

inline Smbus::TransactionRequest batch( std::initializer_list<Smbus::Request> requests ) {
    Smbus::TransactionRequest made;
    for ( const Smbus::Request &each : requests )
        *made.add_request() = each;
    return made;
}

} // namespace Requests
