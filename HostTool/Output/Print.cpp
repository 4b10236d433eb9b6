#include "HostTool/Output/Print.h"

#include "HostTool/Failure.h"

#include <cerrno>
#include <cstdio>
#include <cstring>

namespace HostTool {

void print( const std::string &text ) {
    if ( fwrite( text.data(), 1, text.size(), stdout ) != text.size() || fflush( stdout ) != 0 ) {
        throw Failure( ExitCode::badInput,
                       std::string( "cannot write to standard output: " ) + strerror( errno ) );
    }
}

} // namespace HostTool
