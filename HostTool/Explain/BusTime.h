#pragma once

#include "HostTool/Explain/Traffic.h"

#include <cstdint>

namespace HostTool::Explain {

/// What goes over the wires of a bus. The time that chips, controllers and programs take between
/// two requests is no part of it.
struct WireCost {
    uint64_t transactions = 0;
    uint64_t requests = 0; ///< those that were tried
    uint64_t bytes = 0;    ///< addresses, registers, counts, data, packet error codes
    uint64_t bits = 0;     ///< nine a byte, and one each START and STOP

    double milliseconds( unsigned kilohertz ) const {
        return static_cast<double>( bits ) / kilohertz;
    }
    WireCost &operator+=( const WireCost &other );
};

constexpr unsigned standardMode = 100; ///< kHz
constexpr unsigned fastMode = 400;     ///< kHz

/// Attempts that failed are counted with the least that they took: START, address and STOP.
WireCost costOf( const Request &request );
WireCost costOf( const Transaction &transaction );
WireCost costOf( const std::vector<Transaction> &transactions );

} // namespace HostTool::Explain
