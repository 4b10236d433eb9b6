#pragma once

#include "HostTool/Check/Finding.h"
#include "HostTool/Check/Values.h"

namespace HostTool::Check {

/// Tells what a chip's knobs are set to at the start and cannot be, as far as the shape does not
/// tell it: to the emulated board each value is a text, and it reads a number in a text like any
/// other.
/// @param chip of an emulation document
void checkKnobs( const JsonFile &document, const Value &chip, Findings &findings );

} // namespace HostTool::Check
