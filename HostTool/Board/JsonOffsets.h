#pragma once

#include <cstddef>
#include <string_view>
#include <vector>

namespace HostTool {

/// Where a value stands, in bytes from the start of the text.
struct JsonOffsets {
    size_t key; ///< of the key in front of it; of the value itself where there is no key
    size_t value;
};

/// The values of a text that is known to be JSON, parents before their children, otherwise in the
/// order of the text.
std::vector<JsonOffsets> offsetsOfValues( std::string_view text );

} // namespace HostTool
