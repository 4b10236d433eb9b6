#pragma once

#include "tests/soak/Device.h"
#include "tests/soak/SimulatedFile.h"

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

namespace Soak {

/// One file of simulated hardware, and the devices that are in it.
class SimulatedPart {
  public:
    virtual ~SimulatedPart() = default;

    /// @return null when the entry is none of this file's.
    virtual std::unique_ptr<Device> device( const Entry &entry, void *record ) = 0;
    /// Somebody else writes another value into the file.
    virtual void change( Random &random ) = 0;

    const SimulatedFile &file() const { return file_; }
    /// Fields that the library has read and written.
    uint64_t accesses() const { return accesses_; }

  protected:
    SimulatedPart( const std::string &path, const std::vector<SimulatedField> &fields )
        : file_( path, fields ) {}

    SimulatedFile file_;
    uint64_t accesses_ = 0;
};

/// The parts of the board that have a file in simulation: board sensors, supplies, supply slots.
/// @param folder of the files, which the library has made.
std::vector<std::unique_ptr<SimulatedPart>> simulatedParts( const std::string &folder );

} // namespace Soak
