#pragma once

#include "HostTool/Snapshot/Difference.h"
#include "HostTool/Snapshot/Tolerances.h"

#include <string>
#include <vector>

namespace HostTool::Snapshot {

/// A value as a person says it: "24.5 C", "yes", "'FAN-1U'".
std::string spoken( const Record &record, const Tolerances &tolerances );

/// What a key is called: "input voltage".
std::string spokenKey( const std::string &key );

/// "a", "a and b", "a, b and c".
std::string spokenList( const std::vector<std::string> &words );

/// Two values of one kind that differ: "inlet is 9.5 degrees warmer (33.5 C, was 24.0 C)",
/// "Ethernet5 lost its signal".
std::string spokenChange( const std::string &device, const std::string &key, const Record &golden,
                          const Record &now, const Tolerances &tolerances );

/// A state that differs: "inlet is above its alert threshold of 45.0 C".
std::string spokenState( const DeviceState &golden, const DeviceState &now,
                         const Tolerances &tolerances );

} // namespace HostTool::Snapshot
