#include "SmbusServer/Log.h"

#include "SmbusServer/LogLimit.h"

#include <algorithm>
#include <cctype>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <string>

namespace SmbusServer {

static bool detailShown = false;

// One write a line: lines of programs that share a terminal do not mix. A client's text must not
// make two lines of one, nor reach the terminal as an escape sequence.
__attribute__( ( format( printf, 1, 0 ) ) ) static void writeLine( const char *format,
                                                                   va_list arguments ) {
    char *text = nullptr;
    if ( vasprintf( &text, format, arguments ) < 0 ) {
        return;
    }
    std::string line = std::string( "kavra-smbusd: " ) + text;
    free( text );
    std::ranges::replace_if(
        line, []( unsigned char each ) { return iscntrl( each ) != 0; }, '?' );
    fputs( ( line + "\n" ).c_str(), stderr );
}

void logEvent( const char *format, ... ) {
    va_list arguments;
    va_start( arguments, format );
    writeLine( format, arguments );
    va_end( arguments );
}

void logClientEvent( pid_t client, const char *format, ... ) {
    static LogLimit limit;
    const std::optional<unsigned> leftOut = limit.admit( client, std::chrono::steady_clock::now() );
    if ( !leftOut ) {
        return;
    }
    if ( *leftOut > 0 ) {
        logEvent( "%u lines about pid %d were left out", *leftOut, client );
    }
    va_list arguments;
    va_start( arguments, format );
    writeLine( format, arguments );
    va_end( arguments );
}

void logDetail( const char *format, ... ) {
    if ( !detailShown ) {
        return;
    }
    va_list arguments;
    va_start( arguments, format );
    writeLine( format, arguments );
    va_end( arguments );
}

void logDetailIs( bool shown ) {
    detailShown = shown;
}

} // namespace SmbusServer
