#pragma once

#include <string>
#include <sys/types.h>

/// The least that can stand at the other end of the wire: a child process on the caller's CPU that
/// answers each batch at once, reads with a fixed pattern. A batch of the same bytes as the one
/// before gets the same bytes back without a look inside.
class AnsweringServer {
  public:
    /// Pins the process to one CPU, starts the child there and points SMBUSD_SOCKET at it.
    AnsweringServer();
    AnsweringServer( const AnsweringServer & ) = delete;
    AnsweringServer &operator=( const AnsweringServer & ) = delete;
    ~AnsweringServer();

    const std::string &path() const { return path_; }

  private:
    std::string folder_;
    std::string path_;
    pid_t child_;
};
