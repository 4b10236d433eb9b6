#pragma once

#include <string>

namespace HostTool {

/// Writes a text to standard output at once.
/// @throw Failure (badInput) when not all of it could be written.
void print( const std::string &text );

} // namespace HostTool
