#pragma once

#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>
#include <sys/types.h>

namespace SmbusServer {

struct UsageError : std::runtime_error {
    using std::runtime_error::runtime_error;
};

struct Options {
    enum class Task { Serve, CheckConfig, Print, Control, Help, Version };

    Task task = Task::Serve;
    std::string board;                 ///< emulation document
    std::optional<std::string> i2cDev; ///< serve the kernel's adapters: map document, may be empty
    std::string replay;                ///< recording to answer from
    std::string record;                ///< where to record; empty: nowhere
    std::string print;                 ///< recording to print
    bool json = false;                 ///< print it as JSON
    std::string socket;                ///< where clients connect
    std::string control;               ///< where the world is driven
    std::string line;                  ///< what ctl sends
    std::string faults;                ///< script of faults; empty: none
    std::optional<gid_t> group;        ///< who may connect; nothing: whom the socket's mode lets
    bool verbose = false;
};

/// @throw UsageError for a call that means nothing.
Options parseOptions( int argc, char **argv );

extern const std::string_view helpText;

} // namespace SmbusServer
