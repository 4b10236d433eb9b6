#pragma once

#include "HostTool/Check/Finding.h"
#include "HostTool/Check/Kind.h"

namespace HostTool::Check {

/// Judges the document by the schema of its kind, and tells keys that stand twice.
/// @return false when the shape has errors, so that what the document says is doubtful.
bool checkShape( const JsonFile &document, Kind kind, Findings &findings );

} // namespace HostTool::Check
