#pragma once

#include <stdexcept>
#include <string>

namespace HostTool {

/// What the program leaves behind; scripts rely on these.
enum class ExitCode {
    fine = 0,
    boardTrouble = 1, ///< something on the board is wrong or unreadable
    badInput = 2,     ///< the call or a document is wrong
    unreachable = 3,  ///< the server or the library cannot be had
};

/// Ends the command: the text goes to stderr behind "kavractl: ", the code becomes the exit code.
class Failure : public std::runtime_error {
  public:
    Failure( ExitCode code, const std::string &text ) : std::runtime_error( text ), code_( code ) {}
    ExitCode code() const { return code_; }

  private:
    ExitCode code_;
};

} // namespace HostTool
