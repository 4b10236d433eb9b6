// The bytes of a client into the server's connection, above the layers that a served board has and
// a small emulated board. The first byte is the length of the pieces in which they arrive; 0 stands
// for one piece.
#include "EmulatedBoard/Document.h"
#include "fuzz/Bytes.h"
#include "fuzz/Contract.h"
#include "fuzz/ServedSession.h"
#include "fuzz/Targets.h"
#include "SmbusServer/AnswerWriter.h"
#include "SmbusServer/BatchParser.h"
#include "SmbusServer/Connection.h"
#include "SmbusServer/EmulatedBackend.h"
#include "SmbusServer/FaultLayer.h"
#include "SmbusServer/MuxGuard.h"

using namespace SmbusServer;

namespace {

// The server's own parser gives what the message's parser gives.
void compareParsers( std::string_view payload ) {
    Smbus::TransactionRequest ours;
    Smbus::TransactionRequest theirs;
    const bool understood = parseBatch( payload, ours );
    Fuzz::require( understood ==
                       theirs.ParseFromArray( payload.data(), static_cast<int>( payload.size() ) ),
                   "both parsers understand a payload, or none" );
    Fuzz::require( !understood || ours.SerializeAsString() == theirs.SerializeAsString(),
                   "both parsers give one batch" );
}

void checkAnswers( std::string_view received ) {
    while ( !received.empty() ) {
        Fuzz::require( received.size() >= frameHeader, "an answer has a header" );
        const size_t length = payloadLength( received.data() );
        received.remove_prefix( frameHeader );
        Fuzz::require( received.size() >= length, "an answer is whole" );
        Smbus::TransactionResponse response;
        Fuzz::require( response.ParseFromArray( received.data(), static_cast<int>( length ) ),
                       "an answer is a message" );
        received.remove_prefix( length );
    }
}

std::vector<std::string> piecesOf( Fuzz::Bytes &bytes ) {
    const size_t length = bytes.byte();
    std::vector<std::string> pieces;
    while ( !bytes.empty() ) {
        pieces.emplace_back( length == 0 ? bytes.rest() : bytes.take( length ) );
    }
    return pieces;
}

} // namespace

void Fuzz::serverFrames( std::string_view input ) {
    if ( input.size() > 1 + frameHeader ) {
        compareParsers( input.substr( 1 + frameHeader ) );
    }
    EmulatedBoard::Board board = EmulatedBoard::parseBoard( smallBoard(), "board" );
    EmulatedBackend backend( board );
    FaultList faults;
    FaultLayer faulty( backend, faults );
    PrivateWiring wiring;
    MuxGuard guard( faulty, wiring );
    DirectPerformer performer( guard );
    Workspace workspace;
    Bytes bytes( input );
    checkAnswers( serveClient(
        [&]( sd_event *loop, Descriptor client, Listener &listener ) {
            return std::make_unique<Connection>( loop, std::move( client ), listener, performer,
                                                 workspace );
        },
        piecesOf( bytes ) ) );
}
