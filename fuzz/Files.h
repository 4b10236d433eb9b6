#pragma once

#include <string>

namespace Fuzz {

/// The text of a file of the checkout.
std::string textOfFile( const std::string &path );

} // namespace Fuzz
