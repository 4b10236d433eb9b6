#pragma once

#include "EmulatedBoard/Board.h"

#include <string>
#include <string_view>

namespace SmbusServer {

/// Performs one line of the control socket on the board's world.
/// @return data lines and "ok", or one line "error: " and why; each with its line end.
std::string controlAnswer( EmulatedBoard::Board &board, std::string_view line );

} // namespace SmbusServer
