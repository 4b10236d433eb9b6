#pragma once

#include "Conformance/Outcome.h"

#include <string>
#include <vector>

namespace Conformance {

class Subject;

/// One thing that a library of this interface keeps to, and that can be seen from outside.
struct Check {
    const char *id;       ///< "group.name", for ever the same
    const char *sentence; ///< what holds
    const char *reason;   ///< what a host loses where it does not
    /// Returns when the library conforms. Runs in a process of its own.
    /// @throw Broken when it does not, Skipped when the board has nothing to try it on.
    void ( *run )( Subject &subject );
    int leastSeconds = 0; ///< that it may take, however short the deadline of the others is
};

/// The checks of one group, in the order in which they run.
using Checks = std::vector<Check>;

Checks symbolChecks();
Checks initChecks();
Checks recordChecks();
Checks tableChecks();
Checks nullChecks();
Checks statusChecks();
Checks valueChecks();
Checks assertionChecks();
Checks processChecks();

/// All of them.
Checks allChecks();

/// Those whose id is among the names, or whose group is; all of them without names.
/// @throw HostTool::Failure (badInput) for a name that is neither.
Checks selectChecks( const std::vector<std::string> &names );

} // namespace Conformance
