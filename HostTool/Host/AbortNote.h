#pragma once

#include <cstddef>
#include <initializer_list>
#include <string_view>

namespace HostTool {

/// What the program is doing with the library right now. The library ends the process through
/// assertions; should it, the note is written to stderr behind the assertion's own text, and the
/// process ends by SIGABRT as it would have. A note ends with its object; one that is made while
/// another holds is written behind it.
class AbortNote {
  public:
    /// What an abort runs before the note is written, for a terminal that must be given back; null
    /// for nothing. It runs in a signal handler.
    static void prelude( void ( *run )() );

    explicit AbortNote( std::string_view doing ) : AbortNote( { doing } ) {}
    /// What is being done, in pieces.
    explicit AbortNote( std::initializer_list<std::string_view> doing );
    ~AbortNote();

    AbortNote( const AbortNote & ) = delete;
    AbortNote &operator=( const AbortNote & ) = delete;

  private:
    size_t before_; ///< what is written of the notes that hold already, in bytes
};

} // namespace HostTool
