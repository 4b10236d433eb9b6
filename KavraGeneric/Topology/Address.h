#pragma once

#include "KavraGeneric/Json.h"

#include <cstdint>

/// Where a device sits on its bus, as one 64-bit word. The word goes to the SMBus server as it is,
/// so every bit position is part of the wire. The delay and time-out fields are codes that the
/// server interprets.
struct AhamAddress {
    uint32_t reg;                        ///< 0-31: register or command of the request being made
    uint32_t address : 7;                ///< 32-38: SMBus address of the device
    uint32_t bus : 7;                    ///< 39-45: set from the path, not from the document
    uint32_t accelerator : 7;            ///< 46-52
    uint32_t writeNoStopReadCurrent : 1; ///< 53: repeated start between register and data
    uint32_t busTimeout : 3;             ///< 54-56
    uint32_t addrSize : 2;               ///< 57-58: width of a register address, in bytes
    uint32_t extraDelay : 1;             ///< 59
    uint32_t writeDelay : 2;             ///< 60-61
    uint32_t readDelay : 2;              ///< 62-63
};
static_assert( sizeof( AhamAddress ) == sizeof( uint64_t ) );

/// Location of a PCI-attached controller; 0 means that there is none.
using PCIAddress = uint32_t;

namespace Topology {

/// Fills an address from the "address" object of device arguments. Numbers keep their low bits
/// without a range check. Asserts an object, its "address" key, and a width of 1 or 2: a document's
/// width of 4 does not fit the field, reads as 0 and ends the process.
void fillAddressFromJSON( const rapidjson::Value &value, AhamAddress &addr );

} // namespace Topology
