#pragma once

#include <sys/types.h>

namespace SmbusServer {

/// One event, one line on stderr, with the program's name in front.
void logEvent( const char *format, ... ) __attribute__( ( format( printf, 1, 2 ) ) );
/// The same, for what a client brings about and could flood the log with: of many lines in a short
/// time some are left out, and a line says how many.
/// @param client the process; 0 for clients as a whole.
void logClientEvent( pid_t client, const char *format, ... )
    __attribute__( ( format( printf, 2, 3 ) ) );
/// The same, for events that only --verbose shows.
void logDetail( const char *format, ... ) __attribute__( ( format( printf, 1, 2 ) ) );
void logDetailIs( bool shown );

} // namespace SmbusServer
