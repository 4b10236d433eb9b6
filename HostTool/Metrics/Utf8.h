#pragma once

#include <string>
#include <string_view>

namespace HostTool::Metrics {

/// The text with U+FFFD in place of every byte that is part of no character: labels are UTF-8, and
/// one that is not makes a reader refuse the whole exposition.
std::string validUtf8( std::string_view text );

} // namespace HostTool::Metrics
