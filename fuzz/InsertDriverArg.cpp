// A driver argument inserted by the host, and the text that comes out as device arguments. A line
// with the name, a line with the value, then the text.
#include "fuzz/Bytes.h"
#include "fuzz/Contract.h"
#include "fuzz/Targets.h"
#include "KavraGeneric/Drivers/Drivers.h"
#include "KavraGeneric/Drivers/Helpers.h"

#include <cstdlib>
#include <memory>

void Fuzz::insertDriverArg( std::string_view input ) {
    Bytes bytes( input );
    const std::string name( bytes.upTo( "\n" ) );
    const std::string value( bytes.upTo( "\n" ) );
    const std::string text( bytes.rest() );
    underContract( [&] {
        char *out = nullptr;
        if ( !Drivers::insertDriverArg( text.c_str(), &out, name.c_str(), value.c_str() ) ) {
            require( out == nullptr, "a text that is no JSON gives none" );
            return;
        }
        const std::unique_ptr<char, decltype( &free )> rewritten( out, free );
        Drivers::DriverArgs args;
        require( args.parseJSON( rewritten.get() ), "what was rewritten is JSON" );
        const auto found = args.driverArgs.find( name.c_str() );
        require( found != args.driverArgs.end(), "the inserted name is there" );
        require( found->second == value.c_str(), "the inserted value wins" );
    } );
}
