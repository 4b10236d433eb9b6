#pragma once

#include <functional>
#include <string>

namespace Property {

/// How a process ended.
struct Outcome {
    int exitCode = -1;     ///< -1: by a signal
    int signal = 0;        ///< 0: by exit
    std::string assertion; ///< the condition that ended it, if one did
};

/// Runs in a process of its own what may end it. What it returns is the exit code; an exception
/// that leaves it ends the process as in any host. After 10 s it is ended.
Outcome outcomeOf( const std::function<int()> &run );

std::string describe( const Outcome &outcome );

} // namespace Property
