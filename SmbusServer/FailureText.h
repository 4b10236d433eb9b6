#pragma once

#include "SmbusServer/Cause.h"

#include <string>

namespace Smbus {
class TransactionRequest;
}

namespace SmbusServer {

/// "bus 1 mux 0x70=01 chip 0x48 reg 0x00: no acknowledge".
///
/// The mux path is what the batch itself has selected before the request, outermost first: the
/// send-bytes to other chips of the bus that no send-byte of 0 has taken back.
/// @param index of the request that failed.
/// @param nameAccelerator name it even when it is 0.
std::string failureText( const Smbus::TransactionRequest &batch, int index, bool nameAccelerator,
                         Cause cause );

} // namespace SmbusServer
