#include "SmbusServer/AnswerWriter.h"

#include <cstdint>
#include <cstring>

namespace SmbusServer {

namespace {

// Field 1 with bytes behind it: an entry of the answer, and the data of an entry.
constexpr uint8_t tag = 1 << 3 | 2;
static_assert( Smbus::TransactionResponse::kResponseFieldNumber == 1 );
static_assert( Smbus::Response::kDataFieldNumber == 1 );

constexpr size_t varintSize( size_t value ) {
    size_t size = 1;
    for ( ; value >= 0x80; value >>= 7 ) {
        ++size;
    }
    return size;
}

// Seven bits a byte, the lowest first; the high bit is set on all but the last.
uint8_t *writeVarint( uint8_t *place, size_t value ) {
    for ( ; value >= 0x80; value >>= 7 ) {
        *place++ = static_cast<uint8_t>( value | 0x80 );
    }
    *place++ = static_cast<uint8_t>( value );
    return place;
}

constexpr size_t fieldSize( size_t length ) {
    return 1 + varintSize( length ) + length;
}

size_t entrySize( const Smbus::Response &entry ) {
    return entry.has_data() ? fieldSize( entry.data().size() ) : 0;
}

} // namespace

AnswerWriter::AnswerWriter( const Smbus::TransactionResponse &answer )
    : answer_( answer ), plain_( !answer.has_failed() && !answer.has_error() ) {
    if ( !plain_ ) {
        size_ = answer.ByteSizeLong();
        return;
    }
    size_ = 0;
    for ( const Smbus::Response &entry : answer.response() ) {
        size_ += fieldSize( entrySize( entry ) );
    }
}

void AnswerWriter::write( char *payload ) const {
    auto *place = reinterpret_cast<uint8_t *>( payload );
    if ( !plain_ ) {
        answer_.SerializeWithCachedSizesToArray( place );
        return;
    }
    for ( const Smbus::Response &entry : answer_.response() ) {
        *place++ = tag;
        place = writeVarint( place, entrySize( entry ) );
        if ( entry.has_data() ) {
            const std::string &data = entry.data();
            *place++ = tag;
            place = writeVarint( place, data.size() );
            memcpy( place, data.data(), data.size() );
            place += data.size();
        }
    }
}

} // namespace SmbusServer
