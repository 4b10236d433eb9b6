#pragma once

#include "tests/HostTool/BoardFolder.h"

#include <functional>
#include <string>
#include <sys/types.h>

/// A terminal of a test's own, in a multiplexer that nobody else uses; it ends with the object.
class Tmux {
  public:
    static bool isInstalled();

    /// Starts a shell command in a terminal of this size.
    Tmux( int columns, int rows, const std::string &command );
    ~Tmux();
    Tmux( const Tmux & ) = delete;
    Tmux &operator=( const Tmux & ) = delete;

    /// What the terminal shows.
    /// @param attributes with the sequences that make the colours
    std::string screen( bool attributes = false ) const;
    /// Presses keys, by their names: "q", "Enter", "Tab".
    void press( const std::string &keys ) const;
    void resize( int columns, int rows ) const;
    /// The program that the shell started; 0 when there is none.
    pid_t program() const;

    /// Waits until the terminal shows a text.
    /// @return false if 20 s did not bring it
    bool waitFor( const std::string &text ) const;
    bool waitUntil( const std::function<bool( const std::string &screen )> &isThere ) const;

  private:
    std::string run( const std::string &arguments ) const;

    BoardFolder folder_;
};
