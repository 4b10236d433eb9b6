#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <string>
#include <sys/types.h>

namespace Soak {

/// What a process holds.
struct Footprint {
    enum Kind : size_t { Resident, Mappings, Descriptors, Threads };
    static constexpr std::array<const char *, 4> names = { "resident KiB", "mappings",
                                                           "descriptors", "threads" };
    /// How much more the last half of a run may show. Pages of code that is run for the first time
    /// late, such as that of a rare failure, count as resident too.
    static constexpr std::array<uint64_t, 4> slack = { 1024, 0, 0, 0 };

    std::array<uint64_t, names.size()> amounts = {};

    /// Throws std::runtime_error when there is no such process.
    static Footprint of( pid_t pid );
};

/// The footprint of one process over a run. It is flat when the last half of the run shows no more
/// than the first half did, from the end of the warm-up on.
class FootprintWatch {
  public:
    /// @param residentCounts false where a sanitizer keeps what is freed.
    FootprintWatch( std::string name, bool residentCounts )
        : name_( std::move( name ) ), residentCounts_( residentCounts ) {}

    /// @param progress of the run, 0 to 1.
    void add( const Footprint &footprint, double progress );

    const std::string &name() const { return name_; }
    const Footprint &firstHalf() const { return firstHalf_; }
    const Footprint &lastHalf() const { return lastHalf_; }
    /// What has grown, a line each; empty when all is flat.
    std::string growth() const;

    static constexpr double warmUp = 0.1; ///< of a run

  private:
    std::string name_;
    bool residentCounts_;
    Footprint firstHalf_;
    Footprint lastHalf_;
};

} // namespace Soak
