#pragma once

#include <cstdint>
#include <span>

namespace SmbusServer {

/// The CRC-8 that SMBus puts behind a transfer: polynomial x^8 + x^2 + x + 1, over everything on
/// the wires, the address bytes included.
/// @param before the code of what went before.
uint8_t packetErrorCode( std::span<const uint8_t> bytes, uint8_t before = 0 );

} // namespace SmbusServer
