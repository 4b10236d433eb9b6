#pragma once

#include "HostTool/Failure.h"
#include "HostTool/Host/Devices.h"
#include "HostTool/Options.h"

#include <string>
#include <vector>

namespace HostTool {

/// What a command wants to find in its task.
enum class Needs {
    entries, ///< the documents; neither server nor library
    devices, ///< all of it, the devices added
    library, ///< documents, library and server; the operands are the command's own
    nothing, ///< the command finds what it needs by itself
};

/// What a command works on: everything that it needs is there when it is called.
struct Task {
    const Options &options;
    Board board;
    std::vector<const Entry *> entries; ///< those that were named, or all
    std::vector<Device> devices;
    const Library *library = nullptr;
};

struct CommandRow {
    const char *name;
    const char *operands; ///< as the usage line shows them
    const char *help;     ///< one line
    Needs needs;
    ExitCode ( *run )( Task &task );
    const char *details; ///< what "kavractl COMMAND --help" adds
};

/// @throw Failure (badInput) for a command that there is not, with the nearest one.
const CommandRow &findCommand( const std::string &name );

std::string help();
std::string helpOf( const CommandRow &command );

} // namespace HostTool
