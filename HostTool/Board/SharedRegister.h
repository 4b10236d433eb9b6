#pragma once

#include "HostTool/Board/Documents.h"
#include "HostTool/Set/Setting.h"

#include <optional>
#include <string>
#include <vector>

namespace HostTool {

/// The entries of one chip with the transceiver: those of its class and did. Their signals share
/// registers.
std::vector<const Entry *> cagesOfOneChip( const Entry &xcvr, const Board &board );

/// The library writes a signal of a transceiver on top of what it last read in the register, and
/// reads only registers that a reading names. Any other one would be written with 0 in the bits of
/// all other cages.
/// @return why the order must not be given; empty when the register is among those that are read,
///         and for settings and drivers that are not concerned
std::string writeHazard( const Entry &entry, Setting setting, const Board &board );

} // namespace HostTool
