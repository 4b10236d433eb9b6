#pragma once

#include "Conformance/Check.h"
#include "Conformance/Outcome.h"
#include "Conformance/World.h"
#include "HostTool/Board/Documents.h"

#include <functional>
#include <string>

namespace Conformance {

/// How a process of its own ended.
struct Ending {
    std::string answer; ///< what its function returned; empty when it did not return
    bool isOverdue;
    int signal; ///< that ended it; 0
    int exitCode;
    std::string said; ///< on its standard output and error

    /// "was ended by signal 11 (Segmentation fault): …".
    std::string story() const;
};

/// Runs a function in a process of its own, whose standard output and error are kept, and ends that
/// process when it has not answered in time. The answer is not empty.
/// @throw Interruption::Interrupted when a signal has come meanwhile
Ending runApart( const std::function<std::string()> &function, int seconds );

/// Runs one check in a process of its own: a library that ends or holds it fails that check.
Outcome runCheck( const Check &check, const std::string &library, const HostTool::Board &board,
                  const BoardServer &server, int deadlineSeconds );

} // namespace Conformance
