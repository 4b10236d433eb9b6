// A response into the client's reader and the library's getters. A byte with the number of
// operations, a byte for each, then the payload of the answer's frame.
#include "fuzz/Bytes.h"
#include "fuzz/Contract.h"
#include "fuzz/FakeWire.h"
#include "fuzz/LibraryState.h"
#include "fuzz/Targets.h"
#include "KavraGeneric/Ham/KavraSmbusHam.h"

#include <iterator>
#include <memory>

namespace {

using Ham::KavraSmbusHam;
using Ham::ResponseId;

// Adds an operation and says how its result is fetched.
struct Operation {
    ResponseId ( *add )( KavraSmbusHam & );
    void ( *fetch )( KavraSmbusHam &, ResponseId );
};

void fetch8( KavraSmbusHam &ham, ResponseId id ) {
    ham.get8( id );
}
void fetch16( KavraSmbusHam &ham, ResponseId id ) {
    ham.get16( id );
}
void fetchBlock( KavraSmbusHam &ham, ResponseId id ) {
    ham.getBlock( id, 16 );
}

constexpr Operation operations[] = {
    { []( KavraSmbusHam &ham ) { return ham.addRead8( 1 ); }, fetch8 },
    { []( KavraSmbusHam &ham ) { return ham.addRead16( 2 ); }, fetch16 },
    { []( KavraSmbusHam &ham ) { return ham.addRead( 3, 16, false ); }, fetchBlock },
    { []( KavraSmbusHam &ham ) { return ham.addReadBlock( 4 ); }, fetchBlock },
    { []( KavraSmbusHam &ham ) { return ham.addProcessCall( 5, 0x1234 ); }, fetch16 },
    { []( KavraSmbusHam &ham ) { return ham.addRecvByte(); }, fetch8 },
};

} // namespace

void Fuzz::getters( std::string_view input ) {
    Bytes bytes( input );
    constexpr unsigned mostOperations = 16;
    const std::string_view chosen = bytes.take( bytes.byte() % mostOperations );
    const std::string frame = frameOf( bytes.rest() );
    const FakeWire wire( [&]( const Smbus::TransactionRequest & ) { return frame; } );
    const LibraryState state;
    const std::unique_ptr<KavraSmbusHam> ham( KavraSmbusHam::createFromAddress( {}, 768 ) );
    const auto operationOf = []( char byte ) {
        return operations[static_cast<uint8_t>( byte ) % std::size( operations )];
    };
    underContract( [&] {
        ham->init();
        ham->prepare();
        for ( const char each : chosen ) {
            operationOf( each ).add( *ham );
        }
        if ( ham->execute() != 0 ) {
            return;
        }
        ResponseId id = 0;
        for ( const char each : chosen ) {
            operationOf( each ).fetch( *ham, id++ );
        }
        ham->get8( id ); // behind the last
    } );
}
