// Device arguments of every class, on a board with a device of every driver. The first byte chooses
// the class.
#include "fuzz/Board.h"
#include "fuzz/Bytes.h"
#include "fuzz/Contract.h"
#include "fuzz/FakeWire.h"
#include "fuzz/LibraryState.h"
#include "fuzz/Targets.h"

void Fuzz::deviceArguments( std::string_view input ) {
    Bytes bytes( input );
    const FakeWire wire( []( const Smbus::TransactionRequest &batch ) {
        return frameOf( healthyAnswer( batch, []( const Smbus::Request &request ) {
            return std::string( std::max( request.length(), 1U ), '\0' );
        } ) );
    } );
    const LibraryState state( board().topology, LibraryState::Hardware::served );
    const DeviceClass &deviceClass = classAt( bytes.byte() );
    const std::string arguments( bytes.rest() );
    underContract( [&] {
        Bytes nothing( {} );
        deviceClass.addAndUse( arguments, nothing );
    } );
}
