// PMBus manufacturer blocks: a count and so many characters. The counts are read first; the blocks
// are then read as plain bytes, their counts included.
#include "KavraGeneric/Drivers/PsuSlot.h"

#include "KavraGeneric/Drivers/Helpers.h"
#include "KavraGeneric/Ham/Ham.h"

namespace Drivers {

constexpr unsigned MFR_MODEL = 0x9A;
constexpr unsigned MFR_SERIAL = 0x9E;

static void dropCount( std::string &block ) {
    if ( !block.empty() ) {
        block.erase( 0, 1 );
    }
}

pl_status PsuSlot::Slot::readSerialAndModelPmbus( std::string &serial, std::string &model ) {
    Ham::Ham &ham = device_->access();
    ham.prepare();
    Ham::ResponseId modelId = ham.addRead8( MFR_MODEL );
    Ham::ResponseId serialId = ham.addRead8( MFR_SERIAL );
    if ( const pl_status status = ham.execute(); status != PL_STATUS_OK ) {
        return status;
    }
    const auto modelLength = static_cast<uint8_t>( ham.get8( modelId ) + 1 );
    const auto serialLength = static_cast<uint8_t>( ham.get8( serialId ) + 1 );

    ham.prepare();
    modelId = ham.addRead( MFR_MODEL, modelLength, false );
    serialId = ham.addRead( MFR_SERIAL, serialLength, false );
    if ( const pl_status status = ham.execute(); status != PL_STATUS_OK ) {
        return status;
    }
    model = ham.getBlock( modelId, modelLength );
    serial = ham.getBlock( serialId, serialLength );
    dropCount( model );
    dropCount( serial );
    model = trim( model ); // the serial number keeps its blanks: hosts know it with them
    return PL_STATUS_OK;
}

} // namespace Drivers
