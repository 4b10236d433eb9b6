// Every driver of the board on a wire whose answers are the input's bytes. The first byte chooses
// the device; the calls and the answers to their batches share the rest.
#include "fuzz/Board.h"
#include "fuzz/Bytes.h"
#include "fuzz/Contract.h"
#include "fuzz/FakeWire.h"
#include "fuzz/LibraryState.h"
#include "fuzz/Targets.h"

#include <iterator>

namespace {

using Fuzz::Bytes;

std::string readFrom( Bytes &bytes, const Smbus::Request &request ) {
    if ( request.type() == Smbus::BLOCK_READ ) {
        return std::string( bytes.take( bytes.byte() % 33 ) );
    }
    return bytes.filled( std::max( request.length(), 1U ) );
}

std::string healthy( const Smbus::TransactionRequest &batch, Bytes &bytes ) {
    return Fuzz::frameOf( Fuzz::healthyAnswer(
        batch, [&]( const Smbus::Request &request ) { return readFrom( bytes, request ); } ) );
}

// Each entry as long as the input says.
std::string otherLengths( const Smbus::TransactionRequest &batch, Bytes &bytes ) {
    Smbus::TransactionResponse response;
    for ( int i = 0; i < batch.request_size(); ++i ) {
        const uint8_t length = bytes.byte();
        response.add_response()->set_data( std::string( length, static_cast<char>( length ) ) );
    }
    return Fuzz::frameOf( response );
}

std::string otherCount( const Smbus::TransactionRequest &, Bytes &bytes ) {
    Smbus::TransactionResponse response;
    for ( int count = bytes.byte() % 8; count > 0; --count ) {
        response.add_response()->set_data( std::string( bytes.take( 1 ) ) );
    }
    return Fuzz::frameOf( response );
}

std::string longBlocks( const Smbus::TransactionRequest &batch, Bytes &bytes ) {
    constexpr size_t longest = 1024;
    const size_t length = bytes.word() % longest;
    return Fuzz::frameOf( Fuzz::healthyAnswer(
        batch, [length]( const Smbus::Request & ) { return std::string( length, 'x' ); } ) );
}

std::string failed( const Smbus::TransactionRequest &, Bytes &bytes ) {
    Smbus::TransactionResponse response;
    response.set_failed( true );
    if ( const std::string_view text = bytes.take( bytes.byte() % 16 ); !text.empty() ) {
        response.set_error( std::string( text ) );
    }
    return Fuzz::frameOf( response );
}

std::string rawPayload( const Smbus::TransactionRequest &, Bytes &bytes ) {
    return Fuzz::frameOf( bytes.take( bytes.byte() ) );
}

std::string rawBytes( const Smbus::TransactionRequest &, Bytes &bytes ) {
    return std::string( bytes.take( bytes.byte() ) );
}

using Answer = std::string ( * )( const Smbus::TransactionRequest &, Bytes & );
constexpr Answer rareAnswers[] = { otherLengths, otherCount, longBlocks,
                                   failed,       rawPayload, rawBytes };

// Most batches go well, so that calls come far.
std::string answerFrom( const Smbus::TransactionRequest &batch, Bytes &bytes ) {
    constexpr uint8_t firstRare = 0xf0;
    const uint8_t kind = bytes.byte();
    return kind < firstRare ? healthy( batch, bytes )
                            : rareAnswers[kind % std::size( rareAnswers )]( batch, bytes );
}

} // namespace

void Fuzz::drivers( std::string_view input ) {
    Bytes bytes( input );
    const FakeWire wire(
        [&]( const Smbus::TransactionRequest &batch ) { return answerFrom( batch, bytes ); } );
    const LibraryState state( board().topology, LibraryState::Hardware::served );
    const auto &entries = board().entries;
    const BoardDocuments::Entry &entry = entries[bytes.byte() % entries.size()];
    underContract( [&] { entry.deviceClass->addAndUse( entry.arguments, bytes ); } );
}
