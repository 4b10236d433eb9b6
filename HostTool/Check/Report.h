#pragma once

#include "HostTool/Check/Finding.h"

#include <string>

namespace HostTool::Check {

/// Errors first, then the warnings; each by document and place, with its hint below.
std::string reportAsText( const Findings &findings );

/// One JSON document with stable keys.
std::string reportAsJson( const Findings &findings );

} // namespace HostTool::Check
