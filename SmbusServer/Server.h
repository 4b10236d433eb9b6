#pragma once

#include "SmbusServer/Options.h"

namespace SmbusServer {

/// Serves until SIGTERM or SIGINT, then ends after the batch in hand and removes the socket files.
/// @throw SocketError, or EmulatedBoard::DocumentError for the board's document.
void serve( const Options &options );

} // namespace SmbusServer
