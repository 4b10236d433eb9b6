#pragma once

#include "SmbusServer/Operation.h"

#include <cstdint>
#include <limits>
#include <optional>
#include <string>

namespace SmbusServer {

enum class FaultKind {
    // What happens to a request on its bus.
    Nack,
    TimeOut,
    Stuck,
    EmptyRead,
    ShortRead,
    LongRead,
    EmptyBlock,
    ShortBlock,
    LongBlock,
    BadCount,
    Ones,
    NoSelect,
    NoRelease,
    // What happens to a batch's answer.
    HangUp,
    HangUpAfter,
    Slow,
    Responses,
    Fail,
};

/// Something that goes wrong on purpose. What has no value matches everything.
struct Fault {
    static constexpr uint32_t forEver = std::numeric_limits<uint32_t>::max();

    FaultKind kind = FaultKind::Nack;
    std::optional<Smbus::MasterType> master;
    std::optional<uint32_t> pci;
    std::optional<uint32_t> accelerator;
    std::optional<uint32_t> bus;
    std::optional<uint32_t> chip;
    std::optional<uint32_t> reg;
    uint32_t at = 1;          ///< the first request (or answer) that is hit, of those that match
    uint32_t count = forEver; ///< how many are hit
    uint32_t value = 0;       ///< milliseconds of Slow, entries of Responses
    std::string text;         ///< of Fail; empty: none
    std::string line;         ///< as it was written, without the first word
};

} // namespace SmbusServer
