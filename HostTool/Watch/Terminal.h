#pragma once

namespace HostTool::Watch {

/// The terminal while a program has the whole screen. It is given back when the object goes, and
/// also when a signal ends the process: an interruption, a termination, an abort of the platform
/// library. What was written to stderr in between would spoil the screen; it is kept, and written
/// when the terminal is given back. There is one at a time.
class Terminal {
  public:
    /// @throw Failure (badInput) for a terminal that nothing is known of.
    Terminal();
    ~Terminal();
    Terminal( const Terminal & ) = delete;
    Terminal &operator=( const Terminal & ) = delete;

    /// Colours are wanted and the terminal has some.
    static bool hasColour();
    /// The terminal shows more than ASCII, as far as the locale knows.
    static bool hasUtf8();
    /// Keeps what was written to stderr from growing without end.
    static void boundErrors();
};

/// True when the program can have the screen: input and output are one, and its kind is known.
bool isTerminal();

} // namespace HostTool::Watch
