#pragma once

#include "HostTool/Host/Reading.h"

#include <string>

namespace HostTool {

/// "24.5 C"; without the unit when it is empty.
std::string numberText( double value, int decimals, const std::string &unit );

/// A reading as a person sees it: "24.5 C", "yes", "--" for one that failed. "n/a" and "unread" say
/// by themselves why there is no value: the device has none of this kind; nobody has read it.
std::string valueText( const Reading &reading, const Column &column );

} // namespace HostTool
