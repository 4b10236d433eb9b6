#include "SmbusServer/BatchParser.h"

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <endian.h>

namespace SmbusServer {

namespace {

/// A place on the wire; null once something was not as expected.
using Place = const uint8_t *;

// A field's number and its kind.
constexpr uint8_t varintField( int number ) {
    return static_cast<uint8_t>( number << 3 );
}
constexpr uint8_t bytesField( int number ) {
    return static_cast<uint8_t>( number << 3 | 2 );
}

// The low seven bits of eight bytes side by side: pairs of bytes first, then pairs of pairs.
constexpr uint64_t packed( uint64_t bytes ) {
    bytes = ( bytes & 0x007f007f007f007f ) | ( bytes & 0x7f007f007f007f00 ) >> 1;
    bytes = ( bytes & 0x00003fff00003fff ) | ( bytes & 0x3fff00003fff0000 ) >> 2;
    return ( bytes & 0x000000000fffffff ) | ( bytes & 0x0fffffff00000000 ) >> 4;
}

// Seven bits a byte, the lowest first; the high bit is set on all but the last. An address has nine
// bytes, which are taken at once. What has ten is left to the message's own parser.
Place readLongVarint( Place place, Place end, uint64_t &value ) {
    constexpr uint64_t highBits = 0x8080808080808080;
    constexpr unsigned allBits = 63;
    uint64_t first = 0;
    if ( end - place > static_cast<ptrdiff_t>( sizeof first ) ) {
        memcpy( &first, place, sizeof first );
        if ( ( le64toh( first ) & highBits ) == highBits && place[sizeof first] < 0x80 ) {
            value = packed( le64toh( first ) ) | uint64_t{ place[sizeof first] } << 56;
            return place + sizeof first + 1;
        }
    }
    value = 0;
    for ( unsigned shift = 0; shift < allBits && place != end; shift += 7 ) {
        const uint64_t part = *place++;
        value |= ( part & 0x7f ) << shift;
        if ( part < 0x80 ) {
            return place;
        }
    }
    return nullptr;
}

inline Place readVarint( Place place, Place end, uint64_t &value ) {
    if ( place != end && *place < 0x80 ) {
        value = *place;
        return place + 1;
    }
    return readLongVarint( place, end, value );
}

/// @param[out] length of the bytes that begin where it returns; they are all there.
inline Place readLength( Place place, Place end, uint64_t &length ) {
    place = readVarint( place, end, length );
    return place != nullptr && length <= static_cast<uint64_t>( end - place ) ? place : nullptr;
}

// Values between the first and the last are all there; any other is kept by the message's own
// parser as an unknown field.
static_assert( Smbus::RequestType_MIN == 0 && Smbus::RequestType_ARRAYSIZE == 5 );
static_assert( Smbus::MasterType_MIN == 0 && Smbus::MasterType_ARRAYSIZE == 7 );

/// Reads a request's fields in the order of their numbers, which is that of every writer. A field
/// that is not next is not there.
class RequestReader {
  public:
    RequestReader( Place place, Place end ) : place_( place ), end_( end ) {}

    /// Whether a number with this tag was next and less than the limit.
    template <typename Number>
    bool take( uint8_t tag, Number &number, uint64_t limit = UINT64_MAX ) {
        if ( place_ == nullptr || place_ == end_ || *place_ != tag ) {
            return false;
        }
        uint64_t value = 0;
        place_ = readVarint( place_ + 1, end_, value );
        number = static_cast<Number>( value );
        if ( value >= limit ) {
            place_ = nullptr;
        }
        return place_ != nullptr;
    }

    bool take( uint8_t tag, std::string_view &bytes ) {
        if ( place_ == nullptr || place_ == end_ || *place_ != tag ) {
            return false;
        }
        uint64_t length = 0;
        place_ = readLength( place_ + 1, end_, length );
        if ( place_ == nullptr ) {
            return false;
        }
        bytes = { reinterpret_cast<const char *>( place_ ), length };
        place_ += length;
        return true;
    }

    /// Behind the request; null when something in it was not as expected.
    Place end() const { return place_ == end_ ? place_ : nullptr; }

  private:
    Place place_;
    Place end_;
};

Place readRequest( Place place, Place end, Smbus::Request &request ) {
    RequestReader reader( place, end );
    std::string_view data;
    uint64_t word = 0;
    uint32_t number = 0;
    if ( reader.take( bytesField( Smbus::Request::kDataFieldNumber ), data ) ) {
        request.set_data( data.data(), data.size() );
    }
    if ( reader.take( varintField( Smbus::Request::kAddressFieldNumber ), word ) ) {
        request.set_address( word );
    }
    if ( reader.take( varintField( Smbus::Request::kTypeFieldNumber ), number,
                      Smbus::RequestType_ARRAYSIZE ) ) {
        request.set_type( static_cast<Smbus::RequestType>( number ) );
    }
    if ( reader.take( varintField( Smbus::Request::kLengthFieldNumber ), number ) ) {
        request.set_length( number );
    }
    if ( reader.take( varintField( Smbus::Request::kFlagFieldNumber ), word ) ) {
        request.set_flag( word != 0 );
    }
    if ( reader.take( varintField( Smbus::Request::kPciFieldNumber ), number ) ) {
        request.set_pci( number );
    }
    if ( reader.take( varintField( Smbus::Request::kMastertypeFieldNumber ), number,
                      Smbus::MasterType_ARRAYSIZE ) ) {
        request.set_mastertype( static_cast<Smbus::MasterType>( number ) );
    }
    return reader.end();
}

bool readBatch( Place place, Place end, Smbus::TransactionRequest &batch ) {
    while ( place != nullptr && place != end ) {
        const uint8_t field = *place;
        uint64_t value = 0;
        if ( field == bytesField( Smbus::TransactionRequest::kRequestFieldNumber ) ) {
            place = readLength( place + 1, end, value );
            if ( place != nullptr ) {
                place = readRequest( place, place + value, *batch.add_request() );
            }
        } else if ( field == varintField( Smbus::TransactionRequest::kRetriesFieldNumber ) ) {
            place = readVarint( place + 1, end, value );
            batch.set_retries( static_cast<uint32_t>( value ) );
        } else {
            return false;
        }
    }
    return place != nullptr;
}

} // namespace

bool parseBatch( std::string_view payload, Smbus::TransactionRequest &batch ) {
    batch.Clear();
    const auto *start = reinterpret_cast<Place>( payload.data() );
    return readBatch( start, start + payload.size(), batch ) ||
           batch.ParseFromArray( payload.data(), static_cast<int>( payload.size() ) );
}

} // namespace SmbusServer
