#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace HostTool {

/// The known word that takes the fewest edits to get from word, the first of equals; empty when
/// there is none to choose from.
std::string nearest( std::string_view word, const std::vector<std::string> &known );

/// "; did you mean 'show'?", or nothing when no known word is near enough to be meant.
std::string didYouMean( std::string_view word, const std::vector<std::string> &known );

} // namespace HostTool
