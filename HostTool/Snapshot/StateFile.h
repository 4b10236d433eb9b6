#pragma once

#include "HostTool/Snapshot/BoardState.h"

#include <string>

namespace HostTool::Snapshot {

/// Reads a snapshot.
/// @param path of a file; "-" is standard input
/// @throw Failure (badInput) "cannot read FILE: reason", "FILE:LINE:COLUMN: KEY: message" for what
///        is no snapshot, and for a newer format both formats by their numbers.
BoardState readStateFile( const std::string &path );

/// The same of a text.
/// @param name what messages call it
BoardState readState( const std::string &name, const std::string &text );

} // namespace HostTool::Snapshot
