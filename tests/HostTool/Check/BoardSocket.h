#pragma once

#include "EmulatedBoard/Board.h"

/// The library's way to the SMBus server, replaced in this program by an emulated board in the same
/// process: PLSocket's operations as the program exports them come before those of its library.
namespace BoardSocket {

/// Who asks from now on is answered by this board, which must live as long.
void serve( EmulatedBoard::Board &board );

} // namespace BoardSocket
