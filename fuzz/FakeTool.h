#pragma once

#include <string>

namespace Fuzz {

/// What the commands that drivers run print, and how they end, while the object lives. No process
/// is ever started: the program's own popen() and pclose() stand in front of the system's. Without
/// an object every command is one that does not exist: no output, exit code 127.
class FakeTool {
  public:
    /// @param status as wait() gives it
    FakeTool( std::string output, int status );
    ~FakeTool();
    FakeTool( const FakeTool & ) = delete;
    FakeTool &operator=( const FakeTool & ) = delete;
};

} // namespace Fuzz
