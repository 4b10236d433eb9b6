#pragma once

#include <string>
#include <sys/types.h>

/// The real server on an emulated board of its own, a child process on the caller's CPU.
class BoardServer {
  public:
    /// Returns when it answers. The caller has pinned itself to one CPU: see AnsweringServer.
    /// @param document the board, as docs/formats/emulation.md describes it.
    explicit BoardServer( const std::string &document );
    BoardServer( const BoardServer & ) = delete;
    BoardServer &operator=( const BoardServer & ) = delete;
    ~BoardServer();

    const std::string &path() const { return path_; }

  private:
    std::string folder_;
    std::string path_;
    pid_t child_;
};
