#include "HostTool/Metrics/TextFile.h"

#include "HostTool/Failure.h"

#include <string_view>

namespace HostTool::Metrics {

void checkTextFileName( const std::string &path ) {
    constexpr std::string_view extension = ".prom";
    const std::string name = path.substr( path.rfind( '/' ) + 1 );
    if ( name.size() <= extension.size() || !name.ends_with( extension ) ) {
        throw Failure( ExitCode::badInput,
                       "--textfile '" + path +
                           "': the name must end in .prom, the node exporter reads no other" );
    }
}

} // namespace HostTool::Metrics
