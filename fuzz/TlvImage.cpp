// The TlvInfo EEPROM of a supply. The first byte chooses whether reads end with the image.
#include "fuzz/Bytes.h"
#include "fuzz/SupplySlot.h"
#include "fuzz/Targets.h"

void Fuzz::tlvImage( std::string_view input ) {
    Bytes bytes( input );
    const uint8_t choice = bytes.byte();
    const std::string image( bytes.rest() );
    constexpr size_t size = 0x10000;
    identify( R"("identificationType":"tlv")",
              choice & 1 ? shortChip( image ) : imageChip( image, size ) );
}
