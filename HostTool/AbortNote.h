#pragma once

#include <string>

namespace HostTool {

/// What the program is doing with the library right now. The library ends the process through
/// assertions; should it, the note is written to stderr behind the assertion's own text, and the
/// process ends by SIGABRT as it would have. One note holds at a time; it ends with its object.
class AbortNote {
  public:
    explicit AbortNote( const std::string &doing );
    ~AbortNote();

    AbortNote( const AbortNote & ) = delete;
    AbortNote &operator=( const AbortNote & ) = delete;
};

} // namespace HostTool
