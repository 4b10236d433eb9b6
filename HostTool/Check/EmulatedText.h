#pragma once

#include "HostTool/Check/Finding.h"

namespace HostTool::Check {

/// Tells what the server refuses in the text of an emulation document, whatever it is about: it
/// reads numbers digit by digit, texts to their end, and no more than so many levels.
void checkEmulatedText( const JsonFile &document, Findings &findings );

} // namespace HostTool::Check
