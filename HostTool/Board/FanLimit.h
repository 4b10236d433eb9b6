#pragma once

#include "HostTool/Board/Documents.h"
#include "HostTool/Host/Reading.h"

#include <optional>

namespace HostTool {

/// The entry whose part holds the fan: the slot with the fan's did and number. Null when there is
/// none.
const Entry *trayOf( const Entry &fan, const Board &board );

/// A fan's full speed in revolutions per minute: the one of its own arguments ("maxFanRpm"), else
/// the one that the description of its tray gives.
/// @param description the identity reading of the tray's slot; null when it was not read
std::optional<int> fullSpeed( const Entry &fan, const Reading *description );

} // namespace HostTool
