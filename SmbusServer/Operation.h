#pragma once

#include "KavraUtil/Smbus.pb.h"

#include <compare>
#include <cstdint>
#include <string_view>

namespace SmbusServer {

/// What a client addresses a bus by.
struct BusName {
    Smbus::MasterType master = Smbus::SIMULATED;
    uint32_t pci = 0; ///< location of the controller, 0 for none
    uint8_t accelerator = 0;
    uint8_t bus = 0;
    auto operator<=>( const BusName & ) const = default;
};

/// One request of a batch, its address word taken apart.
struct Operation {
    BusName bus = {};
    uint8_t chip = 0;          ///< 7-bit address
    uint32_t reg = 0;          ///< register, command or the byte to send
    uint8_t registerWidth = 1; ///< bytes that the register takes on the wires
    Smbus::RequestType type = Smbus::READ;
    uint32_t length = 0;
    std::string_view data = {}; ///< refers to the request
    bool pec = false;
    const Smbus::TransactionRequest *batch = nullptr; ///< which it belongs to, if to any
    int index = -1;                                   ///< of the request in its batch

    /// A send-byte carries its byte as the register and has no data.
    bool isSendByte() const { return type == Smbus::WRITE && length == 0; }
    /// What lets go of a mux.
    bool isDeselect() const { return isSendByte() && reg == 0; }
    bool isRead() const { return type == Smbus::READ || type == Smbus::BLOCK_READ; }
};

Operation decode( const Smbus::Request &request );
/// A request that decodes to the operation, but for the batch that it belongs to.
Smbus::Request encode( const Operation &operation );

} // namespace SmbusServer
