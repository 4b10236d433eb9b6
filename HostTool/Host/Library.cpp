#include "HostTool/Host/Library.h"

#include "HostTool/Failure.h"
#include "HostTool/Host/ProgramFolder.h"

#include <cstdlib>
#include <dlfcn.h>
#include <vector>

namespace HostTool {

static constexpr const char *soname = "libKavraDriversVundaT.so.1";

static std::vector<std::string> candidates( const std::string &askedFor ) {
    if ( !askedFor.empty() ) {
        return { askedFor };
    }
    if ( const char *path = getenv( "KAVRA_LIBRARY" ); path && *path ) {
        return { path };
    }
    return { programFolder() + "/../lib/" + soname, soname };
}

Library::Library( const std::string &askedFor ) {
    std::string tried;
    for ( const std::string &candidate : candidates( askedFor ) ) {
        handle_ = dlopen( candidate.c_str(), RTLD_NOW );
        if ( handle_ ) {
            path_ = candidate;
            return;
        }
        tried += "\n  " + candidate + ": " + dlerror();
    }
    throw Failure( ExitCode::unreachable, "the platform library cannot be loaded; tried" + tried +
                                              "\n  name it with --library PATH or in "
                                              "$KAVRA_LIBRARY" );
}

void *Library::symbol( const std::string &name ) const {
    void *address = dlsym( handle_, name.c_str() );
    if ( !address ) {
        throw Failure( ExitCode::unreachable, path_ + " has no entry point " + name );
    }
    return address;
}

} // namespace HostTool
