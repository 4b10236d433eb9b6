#pragma once

#include <string>
#include <vector>

namespace Conformance {

/// What the command line says.
struct Options {
    std::string library;
    std::string board;  ///< folder; empty: the installed one
    std::string server; ///< program; empty: the one beside this program, else the one in $PATH
    std::vector<std::string> only;
    int deadline = 20; ///< seconds that a check may take
    bool json = false;
    bool list = false;
    bool help = false;
    bool version = false;
};

/// @throw HostTool::Failure (badInput) for what is no option, or lacks its value or its library.
Options parseOptions( int count, char **values );

extern const char *const helpText;

} // namespace Conformance
