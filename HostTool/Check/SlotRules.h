#pragma once

#include "HostTool/Check/Arguments.h"

#include <string>

namespace HostTool::Check {

/// What a supply's slot is told about identification types, commands, models and templates.
void checkSupplySlot( const Arguments &arguments, const std::string &owner, Findings &findings );

} // namespace HostTool::Check
