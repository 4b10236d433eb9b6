#include "SmbusServer/Wiring.h"

namespace SmbusServer {

std::string PrivateWiring::wiresOf( const BusName &bus ) const {
    return std::to_string( bus.master ) + ":" + std::to_string( bus.pci ) + ":" +
           std::to_string( bus.accelerator ) + ":" + std::to_string( bus.bus );
}

} // namespace SmbusServer
