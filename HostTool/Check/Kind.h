#pragma once

#include "HostTool/Board/JsonFile.h"

#include <optional>

namespace HostTool::Check {

enum class Kind { topology, devices, arguments, emulation };

/// What a document is by its file name, or else by its content; nothing when neither tells.
std::optional<Kind> kindOf( const JsonFile &document );

} // namespace HostTool::Check
