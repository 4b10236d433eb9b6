#pragma once

#include "SmbusServer/Fault.h"

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

namespace SmbusServer {

/// The faults that are on, in the order in which they were added. Every fault counts all requests
/// (or answers) that it matches; of those that hit one, the first acts. Any thread may call.
class FaultList {
  public:
    static constexpr size_t mostFaults = 256;

    /// What a fault does to the request or answer that it hits.
    struct Hit {
        FaultKind kind;
        uint32_t value;
        std::string text;
    };

    /// @return false when there are too many.
    bool add( Fault fault );
    /// @param number as list() shows it. @return false when there is no such fault.
    bool remove( uint32_t number );
    void clear();
    /// A line a fault: its number, how often it has hit, and how it was written.
    std::string list() const;

    std::optional<Hit> meet( const Operation &operation );
    /// False when nothing can go wrong, which costs next to nothing to ask.
    bool any() const { return any_; }
    std::optional<Hit> meetAnswer();

  private:
    struct Entry {
        uint32_t number;
        Fault fault;
        uint64_t met = 0;
        uint32_t hits = 0;
        std::optional<BusName> stuckBus = std::nullopt;

        bool matches( const Operation &operation ) const;
        bool count();
    };

    template <class Matches>
    std::optional<Hit> firstHit( Matches matches );

    mutable std::mutex mutex_; // guards all but any_
    std::atomic<bool> any_ = false;
    std::vector<Entry> entries_;
    uint32_t lastNumber_ = 0;
};

} // namespace SmbusServer
