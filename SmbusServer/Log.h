#pragma once

namespace SmbusServer {

/// One event, one line on stderr, with the program's name in front.
void logEvent( const char *format, ... ) __attribute__( ( format( printf, 1, 2 ) ) );
/// The same, for events that only --verbose shows.
void logDetail( const char *format, ... ) __attribute__( ( format( printf, 1, 2 ) ) );
void logDetailIs( bool shown );

} // namespace SmbusServer
