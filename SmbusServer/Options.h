#pragma once

#include <stdexcept>
#include <string>
#include <string_view>

namespace SmbusServer {

struct UsageError : std::runtime_error {
    using std::runtime_error::runtime_error;
};

struct Options {
    enum class Task { Serve, Control, Help, Version };

    Task task = Task::Serve;
    std::string board;   ///< emulation document
    std::string socket;  ///< where clients connect
    std::string control; ///< where the world is driven
    std::string line;    ///< what ctl sends
    bool verbose = false;
};

/// @throw UsageError for a call that means nothing.
Options parseOptions( int argc, char **argv );

extern const std::string_view helpText;

} // namespace SmbusServer
