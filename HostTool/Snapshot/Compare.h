#pragma once

#include "HostTool/Snapshot/Difference.h"
#include "HostTool/Snapshot/Tolerances.h"

#include <string>
#include <vector>

namespace HostTool::Snapshot {

/// What is to be known before the differences: that the documents or the library are others.
std::vector<std::string> notesOf( const Origin &golden, const Origin &now );

/// The differences between two snapshots, the most important first, each group in the order of the
/// golden one. When they were taken and how old values are is none.
std::vector<Difference> compare( const BoardState &golden, const BoardState &now,
                                 const Tolerances &tolerances );

} // namespace HostTool::Snapshot
