#pragma once

#include "HostTool/Board/Documents.h"

#include <string>
#include <vector>

namespace HostTool {

/// What "kavractl list" prints: one line an entry, from the documents alone.
std::string listAsText( const std::vector<const Entry *> &entries );

/// The same as one JSON document with stable keys.
std::string listAsJson( const Board &board, const std::vector<const Entry *> &entries );

} // namespace HostTool
