#include "SmbusServer/PacketErrorCode.h"

namespace SmbusServer {

uint8_t packetErrorCode( std::span<const uint8_t> bytes, uint8_t before ) {
    unsigned code = before;
    for ( const uint8_t byte : bytes ) {
        code ^= byte;
        for ( int bit = 0; bit < 8; ++bit ) {
            code = ( code & 0x80 ) != 0 ? code << 1 ^ 0x07 : code << 1;
        }
    }
    return static_cast<uint8_t>( code );
}

} // namespace SmbusServer
