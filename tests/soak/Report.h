#pragma once

#include "tests/soak/Footprint.h"

#include <cstdint>
#include <string>
#include <utility>
#include <vector>

namespace Soak {

/// What a run came to.
struct Report {
    std::string mode;
    uint64_t seed = 0;
    double wallSeconds = 0;
    /// Counts in the order in which they are shown.
    std::vector<std::pair<std::string, uint64_t>> counts;
    uint64_t wrongReadings = 0;
    std::vector<FootprintWatch> watched;

    bool flat() const;
    bool passed() const { return wrongReadings == 0 && flat(); }
    /// On stdout; what has grown on stderr.
    void print() const;
    /// Throws std::runtime_error when the file cannot be written.
    void writeJson( const std::string &path ) const;
};

} // namespace Soak
