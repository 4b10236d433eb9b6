// A file of faults, and each of its lines by itself; then the faults meet some operations.
#include "SmbusServer/FaultScript.h"

#include "fuzz/Bytes.h"
#include "fuzz/Contract.h"
#include "fuzz/MemoryFile.h"
#include "fuzz/Targets.h"
#include "SmbusServer/FaultList.h"

namespace {

void meetAll( SmbusServer::FaultList &faults ) {
    constexpr uint8_t chips[] = { 0x48, 0x70 };
    for ( int round = 0; round < 3; ++round ) {
        for ( const uint8_t chip : chips ) {
            SmbusServer::Operation operation;
            operation.bus.bus = 1;
            operation.chip = chip;
            faults.meet( operation );
            operation.type = Smbus::WRITE;
            faults.meet( operation );
        }
        faults.meetAnswer();
    }
}

} // namespace

void Fuzz::faultScript( std::string_view input ) {
    SmbusServer::FaultList faults;
    Bytes lines( input );
    while ( !lines.empty() ) {
        try {
            const SmbusServer::Fault fault = SmbusServer::parseFault( lines.upTo( "\n" ) );
            // What was understood is understood again as it is shown.
            require( SmbusServer::parseFault( "fault " + fault.line ).kind == fault.kind,
                     "a fault can be read back" );
            faults.add( fault );
        } catch ( const SmbusServer::FaultError & ) {
        }
    }
    meetAll( faults );
    faults.list();
    faults.remove( 1 );
    try {
        const MemoryFile file( input );
        SmbusServer::loadFaults( file.path() );
    } catch ( const SmbusServer::FaultError & ) {
    }
}
