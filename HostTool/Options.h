#pragma once

#include <optional>
#include <string>
#include <vector>

namespace HostTool {

/// The command line, taken apart.
struct Options {
    std::string command; ///< empty when none was given
    std::vector<std::string> operands;

    std::string board;
    std::string library;
    std::string socket;
    bool simulate = false;
    std::string simulationFolder; ///< empty: the library's own choice
    bool wait = false;
    bool json = false;
    bool fdl = false;           ///< show description texts too
    bool yes = false;           ///< do not ask
    bool force = false;         ///< also what is not usually meant
    int traceLevel = -1;        ///< -1: no traces
    std::optional<int> seconds; ///< how long a command that goes on may take; none: for ever
    int every = 1;              ///< seconds between two readings
    bool everyIsGiven = false;
    std::string textFile;                ///< where metrics go; empty: not into a file
    std::string listen;                  ///< where metrics are asked for; empty: nowhere
    std::string output;                  ///< where a snapshot goes; empty: to standard output
    std::vector<std::string> tolerances; ///< of a comparison, each UNIT=AMOUNT
    std::vector<std::string> rate;       ///< of classes that explain reads, each CLASS=SECONDS
    bool rates = false;                  ///< explain how busy the busses are
    bool rules = false;                  ///< print what check checks
    bool help = false;
    bool version = false;
};

/// Options may stand before and behind the command; "--" ends them.
/// @throw Failure (badInput) for an unknown option, with the nearest one, for a bad value, and for
/// an
///        option that the command does not take.
Options parseOptions( const std::vector<std::string> &arguments );

/// Hands on to the library, which reads its environment, what the options say.
void setEnvironment( const Options &options );

} // namespace HostTool
