#pragma once

#include "HostTool/Board/Documents.h"

#include <rapidjson/document.h>
#include <vector>

namespace HostTool {

/// Reads the entries of a devices.json, in its order.
/// @throw Failure (badInput) naming file, line, entry and key for whatever has the wrong shape.
std::vector<Entry> parseEntries( const JsonFile &file );

/// The "driverArgs" of device arguments; none for arguments without such an object.
Settings settingsIn( const rapidjson::Value &arguments );

} // namespace HostTool
