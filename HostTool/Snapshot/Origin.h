#pragma once

#include "HostTool/Host/Library.h"
#include "HostTool/Options.h"
#include "HostTool/Snapshot/BoardState.h"

#include <string>

namespace HostTool::Snapshot {

/// What there is to say of this moment, this board, this library and its server.
/// @throw Failure (badInput) when devices.json cannot be read again.
Origin originOf( const Options &options, const Board &board, const Library &library );

/// "crc32:cbf43926", the checksum that zlib and many tools have.
std::string checksum( const std::string &text );

} // namespace HostTool::Snapshot
