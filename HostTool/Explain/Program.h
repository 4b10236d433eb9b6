#pragma once

#include <string>
#include <string_view>
#include <sys/types.h>
#include <vector>

namespace HostTool::Explain {

/// A program of ours: the one beside this program, else the one in $PATH.
/// @throw Failure (unreachable) when there is none.
std::string findProgram( const std::string &name );

/// A program that runs beside this one and ends with it, however that ends. Its stdout or stderr is
/// read here. What it inherits from a service manager is taken from it.
class Program {
  public:
    /// @param command path and arguments
    /// @param stream STDOUT_FILENO or STDERR_FILENO: which one is read here. The other one is ours.
    /// @throw Failure (unreachable) when it cannot be started.
    Program( const std::vector<std::string> &command, int stream );
    /// Kills it when it still runs.
    ~Program();
    Program( const Program & ) = delete;
    Program &operator=( const Program & ) = delete;

    /// Reads until the text has come.
    /// @return false when the stream ends before, or the limit is over.
    bool waitFor( std::string_view text, int milliseconds );
    /// Reads to the stream's end and waits for the program's.
    /// @return its exit code, or minus the signal that ended it
    int finish();
    void terminate() const;
    /// What was read.
    const std::string &output() const { return output_; }
    pid_t pid() const { return pid_; }

  private:
    bool readOn( int milliseconds );
    int collect();

    pid_t pid_ = -1;
    int fd_ = -1;
    std::string output_;
};

} // namespace HostTool::Explain
