// The FRU EEPROM of a supply. The first byte chooses whether a wrong checksum of the header is
// allowed, and whether reads end with the image.
#include "fuzz/Bytes.h"
#include "fuzz/SupplySlot.h"
#include "fuzz/Targets.h"

void Fuzz::fruImage( std::string_view input ) {
    Bytes bytes( input );
    const uint8_t choice = bytes.byte();
    const std::string image( bytes.rest() );
    constexpr size_t size = 256;
    identify( std::string( R"("identificationType":"ipmi","allowInvalidCommonHeaderChecksum":)" ) +
                  ( choice & 1 ? "true" : "false" ),
              choice & 2 ? shortChip( image ) : imageChip( image, size ) );
}
