#pragma once

#include "HostTool/Explain/Traffic.h"

#include <string>
#include <utility>
#include <vector>

/// Requests as a recording has them, on one bus.
namespace ExplainRequests {

using HostTool::Explain::BusName;
using HostTool::Explain::Operation;
using HostTool::Explain::Outcome;
using HostTool::Explain::Request;
using HostTool::Explain::Transaction;

inline const BusName scdBus = { "SCD", 768, 0, 1 };

inline Request sendByte( unsigned chip, unsigned value ) {
    return { .bus = scdBus, .chip = chip, .operation = Operation::sendByte, .reg = value };
}

inline Request readBytes( unsigned chip, unsigned reg, unsigned length ) {
    return { .bus = scdBus,
             .chip = chip,
             .operation = Operation::read,
             .reg = reg,
             .length = length,
             .read = std::string( length, '\x19' ) };
}

inline Request writeBytes( unsigned chip, unsigned reg, const std::string &data ) {
    return { .bus = scdBus,
             .chip = chip,
             .operation = Operation::write,
             .reg = reg,
             .length = static_cast<unsigned>( data.size() ),
             .written = data };
}

inline Transaction batch( uint64_t offset, std::vector<Request> requests ) {
    return { offset, std::move( requests ) };
}

} // namespace ExplainRequests
