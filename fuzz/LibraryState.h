#pragma once

#include "KavraGeneric/Library.h"

#include <string>

namespace Ham {
class Ham;
}

namespace Fuzz {

/// Frees an access method and the muxes that were made for it; null is fine. Their devices stay.
void freeHam( Ham::Ham *ham );

/// The library's process-wide state for one input: no socket, no devices, no blinking lamps, and
/// the topology as it was read. What the library makes for the life of the process is freed when
/// the object goes, as far as anything leads to it, so that millions of inputs fit in memory.
class LibraryState {
  public:
    enum class Hardware { served, simulated };

    /// Without a topology.
    explicit LibraryState( Hardware hardware = Hardware::served );
    /// With the documents' topology, which is read once a process.
    LibraryState( const std::string &topology, Hardware hardware );
    ~LibraryState();
    LibraryState( const LibraryState & ) = delete;
    LibraryState &operator=( const LibraryState & ) = delete;

    static void forgetTopology();

  private:
    bool keepsTopology_;
};

} // namespace Fuzz
