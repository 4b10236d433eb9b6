#pragma once

#include "HostTool/Snapshot/BoardState.h"

#include <string>

namespace HostTool::Snapshot {

/// Whether the part of a slot or cage is in it.
enum class Presence {
    present,
    absent,
    unrecognised, ///< the library takes it for absent, because it does not know what it is
    unknown,      ///< could not be read, or the device is neither slot nor cage
};

Presence presenceOf( const DeviceState &device );

/// What a person calls the part: "fan3" of "fan3-slot". A cage's is the cage's name.
std::string partOf( const DeviceState &holder );

} // namespace HostTool::Snapshot
