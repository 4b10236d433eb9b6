#pragma once

#include "EmulatedBoard/Board.h"
#include "SmbusServer/FaultList.h"

#include <string>
#include <string_view>

namespace SmbusServer {

/// What the control socket drives.
struct World {
    EmulatedBoard::Board &board; ///< without busses when those are real or recorded
    FaultList &faults;
};

/// Performs one line of the control socket.
/// @return data lines and "ok", or one line "error: " and why; each with its line end.
std::string controlAnswer( const World &world, std::string_view line );

} // namespace SmbusServer
