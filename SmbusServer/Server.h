#pragma once

#include "SmbusServer/Options.h"

namespace SmbusServer {

/// Reads the documents that serve() would read, looks whether it could record, and says of each on
/// stdout that it is fine.
/// @throw as serve() does.
void checkDocuments( const Options &options );

/// Serves until SIGTERM or SIGINT, then ends after the batch in hand and removes the socket files.
/// @throw SocketError, or EmulatedBoard::DocumentError for the board's document.
void serve( const Options &options );

} // namespace SmbusServer
