#pragma once

#include <string_view>

namespace HostTool::Check {

/// The files of schemas/, built into the program.
struct SchemaText {
    std::string_view name; ///< "topology", of topology.schema.json
    std::string_view text;
};

/// @return an empty text for a name that no schema has.
std::string_view schemaText( std::string_view name );

} // namespace HostTool::Check
