#pragma once

#include <string>

namespace Soak {

/// Throws std::runtime_error when the file cannot be read.
std::string contentOf( const std::string &path );

} // namespace Soak
