#pragma once

#include "HostTool/Board/Documents.h"

#include <optional>
#include <string>

namespace HostTool {

/// A driver-specific argument of an entry as text, whether the document has it as a text or as a
/// number; nothing when the entry has none of this name.
std::optional<std::string> driverArgument( const Entry &entry, const std::string &key );

/// The same as a decimal number; nothing also for a text that is none.
std::optional<int> driverNumber( const Entry &entry, const std::string &key );

} // namespace HostTool
