#pragma once

#include "HostTool/Snapshot/BoardState.h"

#include <string>
#include <vector>

namespace HostTool::Snapshot {

/// What kind of difference it is, the most important first.
enum class Group { missing, additional, part, state, setting, value };

inline constexpr Group groups[] = { Group::missing, Group::additional, Group::part,
                                    Group::state,   Group::setting,    Group::value };

using HostTool::nameOf;
/// "missing", as JSON has it.
const char *nameOf( Group group );
/// "Missing", above its sentences.
const char *headingOf( Group group );

/// One thing that a person would say.
struct Difference {
    Group group;
    std::string device;
    std::vector<std::string> keys; ///< what it is about; none: the device as a whole
    Record::Value golden;          ///< of a single key; nothing where there was no value
    Record::Value now;
    std::string unit;
    std::string text;
    /// Devices that differ because of it and are not told of by themselves.
    std::vector<std::string> with = {};
};

} // namespace HostTool::Snapshot
