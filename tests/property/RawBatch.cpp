// Batches of every operation that an access method over the wire has.
#include "tests/property/RawBatch.h"

#include "KavraGeneric/Ham/Ham.h"
#include "tests/property/Property.h"

#include <iterator>

namespace Property {

namespace {

using Id = Ham::ResponseId;

enum class Result { None, Byte, Word, Block };

std::string oneByte( uint32_t value ) {
    return { static_cast<char>( value ) };
}

Deed deed( Smbus::RequestType type, const RawOperation &from, uint32_t length,
           std::string data = {}, bool flag = false ) {
    return { { type, from.reg, length, std::move( data ), flag }, false };
}

Deed dataDeed( Smbus::RequestType type, const RawOperation &from ) {
    const auto length = static_cast<uint32_t>( from.bytes.size() );
    return deed( type, from, length, from.bytes, from.flag );
}

Deed longRead( const RawOperation &from ) {
    Deed made = deed( Smbus::READ, from, 1 + from.value % 16 );
    made.repeatedStart = from.flag;
    return made;
}

struct Kind {
    Result result;
    Id ( *queue )( Ham::Ham &ham, const RawOperation &operation );
    Deed ( *expected )( const RawOperation &operation );
};

// clang-format off
constexpr Kind kinds[] = {
    { Result::Byte, []( Ham::Ham &ham, const RawOperation & ) { return ham.addRecvByte(); },
      []( const RawOperation & ) { return readDeed( 0, 0 ); } },
    { Result::Byte, []( Ham::Ham &ham, const RawOperation &op ) { return ham.addRead8( op.reg ); },
      []( const RawOperation &op ) { return deed( Smbus::READ, op, 1 ); } },
    { Result::Word, []( Ham::Ham &ham, const RawOperation &op ) { return ham.addRead16( op.reg ); },
      []( const RawOperation &op ) { return deed( Smbus::READ, op, 2 ); } },
    { Result::Block,
      []( Ham::Ham &ham, const RawOperation &op ) {
          return ham.addRead( op.reg, 1 + op.value % 16, op.flag );
      },
      longRead },
    { Result::Block,
      []( Ham::Ham &ham, const RawOperation &op ) { return ham.addReadBlock( op.reg ); },
      []( const RawOperation &op ) { return deed( Smbus::BLOCK_READ, op, 0 ); } },
    { Result::None,
      []( Ham::Ham &ham, const RawOperation &op ) {
          ham.addSendByte( static_cast<uint8_t>( op.value ), op.flag );
          return Id{ 0 };
      },
      []( const RawOperation &op ) {
          return sendDeed( static_cast<uint8_t>( op.value ), op.flag );
      } },
    { Result::None,
      []( Ham::Ham &ham, const RawOperation &op ) {
          ham.addWrite8( op.reg, static_cast<uint8_t>( op.value ), op.flag );
          return Id{ 0 };
      },
      []( const RawOperation &op ) {
          return deed( Smbus::WRITE, op, 1, oneByte( op.value ), op.flag );
      } },
    { Result::None,
      []( Ham::Ham &ham, const RawOperation &op ) {
          ham.addWrite16( op.reg, static_cast<uint16_t>( op.value ), op.flag );
          return Id{ 0 };
      },
      []( const RawOperation &op ) {
          return deed( Smbus::WRITE, op, 2, wordBytes( op.value ), op.flag );
      } },
    { Result::None,
      []( Ham::Ham &ham, const RawOperation &op ) {
          ham.addWrite( op.reg, op.bytes.data(), static_cast<unsigned>( op.bytes.size() ),
                        op.flag );
          return Id{ 0 };
      },
      []( const RawOperation &op ) { return dataDeed( Smbus::WRITE, op ); } },
    { Result::None,
      []( Ham::Ham &ham, const RawOperation &op ) {
          ham.addWriteBlock( op.reg, op.bytes.data(), static_cast<unsigned>( op.bytes.size() ),
                             op.flag );
          return Id{ 0 };
      },
      []( const RawOperation &op ) { return dataDeed( Smbus::BLOCK_WRITE, op ); } },
    { Result::Word,
      []( Ham::Ham &ham, const RawOperation &op ) {
          return ham.addProcessCall( op.reg, static_cast<uint16_t>( op.value ) );
      },
      []( const RawOperation &op ) {
          return deed( Smbus::PROCESS_CALL, op, 2, wordBytes( op.value ) );
      } },
};
// clang-format on

std::string fetched( Ham::Ham &ham, Result result, Id id ) {
    switch ( result ) {
    case Result::None:
        return "";
    case Result::Byte:
        return oneByte( ham.get8( id ) );
    case Result::Word:
        return wordBytes( ham.get16( id ) );
    case Result::Block:
        return ham.getBlock( id, 0 );
    }
    return "";
}

} // namespace

RawOperation drawRawOperation() {
    const auto kind = drawBelow( std::size( kinds ) );
    const uint32_t reg = drawRarely( 8 ) ? drawWord() : drawBelow( 256 );
    return { kind, reg, drawWord(), "." + drawBytes( 6 ), drawRarely( 3 ) };
}

std::string performRaw( Ham::Ham &ham, const std::vector<RawOperation> &operations ) {
    ham.prepare();
    std::vector<Id> ids;
    for ( const RawOperation &operation : operations ) {
        ids.push_back( kinds[operation.kind].queue( ham, operation ) );
    }
    const int status = ham.execute();
    std::string results = std::to_string( status );
    if ( status != PL_STATUS_OK ) {
        return results;
    }
    for ( std::size_t i = operations.size(); i-- > 0; ) {
        results += " " + hexOf( fetched( ham, kinds[operations[i].kind].result, ids[i] ) );
    }
    return results;
}

static std::vector<Deed> deedsOf( const std::vector<RawOperation> &operations ) {
    std::vector<Deed> deeds;
    for ( const RawOperation &operation : operations ) {
        deeds.push_back( kinds[operation.kind].expected( operation ) );
    }
    return deeds;
}

std::string expectRefusedRaw( Twin &twin, const BoardDevice &device,
                              const std::vector<RawOperation> &operations, std::size_t refused ) {
    twin.refusedBatch( device, deedsOf( operations ), refused );
    return std::to_string( PL_STATUS_FAILED );
}

std::string expectRaw( Twin &twin, const BoardDevice &device,
                       const std::vector<RawOperation> &operations ) {
    const std::vector<std::string> answers = twin.batch( device, deedsOf( operations ) );
    std::string results = "0";
    for ( std::size_t i = operations.size(); i-- > 0; ) {
        const bool isRead = kinds[operations[i].kind].result != Result::None;
        results += " " + ( isRead ? hexOf( answers[i] ) : std::string() );
    }
    return results;
}

} // namespace Property
