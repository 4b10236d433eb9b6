#pragma once

#include <functional>
#include <stdexcept>
#include <string>
#include <string_view>

namespace Fuzz {

/// An assertion of the library's contract ended the input.
struct AssertionOfContract {};

/// Whether an assertion with this text in this file may end an input: fuzz/assertions.txt has it.
bool isAssertionOfContract( std::string_view text, std::string_view file );

/// Feeds the library. Its contract lets some inputs end in an assertion or an exception, which
/// fuzz/assertions.txt and fuzz/exceptions.txt list; any other ends the process.
/// @param situation in which more exceptions may leave it: the first word of their lines
void underContract( const std::function<void()> &work, const std::string &situation = {} );

/// Whether underContract() is at work.
bool feedsTheLibrary();

/// Ends the process when something that holds for every input does not hold.
void require( bool condition, const char *what );

} // namespace Fuzz
