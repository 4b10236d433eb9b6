#pragma once

#include <cstdint>
#include <span>
#include <string>
#include <vector>

namespace EmulatedBoard {

struct Tlv {
    static constexpr uint8_t productName = 0x21;
    static constexpr uint8_t partNumber = 0x22;
    static constexpr uint8_t serialNumber = 0x23;
    static constexpr uint8_t labelRevision = 0x27;
    static constexpr uint8_t manufacturer = 0x2b;

    uint8_t type;
    std::string value; ///< at most 255 bytes
};

/// A system EEPROM in the ONIE TlvInfo format: the header, the entries in their order and the
/// CRC-32 entry.
std::vector<uint8_t> tlvImage( std::span<const Tlv> entries );

} // namespace EmulatedBoard
