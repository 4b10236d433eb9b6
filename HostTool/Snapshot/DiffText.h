#pragma once

#include "HostTool/Snapshot/Difference.h"
#include "HostTool/Snapshot/Tolerances.h"

#include <string>
#include <vector>

namespace HostTool::Snapshot {

/// What "kavractl diff" has to say.
struct DiffReport {
    std::string goldenName; ///< of the file, as it was given
    Origin golden;
    std::string nowName; ///< empty: the board itself
    Origin now;
    Tolerances tolerances;
    std::vector<std::string> notes;
    std::vector<Difference> differences;
};

/// A heading a group, a line a difference, and how many there are.
std::string diffAsText( const DiffReport &report );

/// The same as one JSON document with stable keys.
std::string diffAsJson( const DiffReport &report );

} // namespace HostTool::Snapshot
