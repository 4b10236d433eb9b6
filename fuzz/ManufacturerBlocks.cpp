// The manufacturer blocks of a PMBus supply: the block of the model behind its length, then the
// block of the serial number. The blocks' own counts are theirs to get wrong. The first byte
// chooses whether a read that is longer than the block is filled up.
#include "fuzz/Bytes.h"
#include "fuzz/SupplySlot.h"
#include "fuzz/Targets.h"

void Fuzz::manufacturerBlocks( std::string_view input ) {
    Bytes bytes( input );
    const bool fills = bytes.byte() & 1;
    const std::string model( bytes.take( bytes.byte() ) );
    const std::string serial( bytes.rest() );
    constexpr uint32_t mfrModel = 0x9a;
    identify( R"("identificationType":"pmbus")", [&]( uint32_t reg, size_t count ) {
        std::string block = ( reg == mfrModel ? model : serial ).substr( 0, count );
        if ( fills ) {
            block.resize( count, '\xff' );
        }
        return block;
    } );
}
