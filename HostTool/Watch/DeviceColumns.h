#pragma once

#include "HostTool/Watch/Layout.h"

namespace HostTool::Watch {

struct Pages {
    size_t shown; ///< from 1
    size_t count;
};

/// Draws every device but the cages, a line each below the heading of its class, in as few columns
/// as the rows allow. What does not fit is on further pages; the one with the selected device is
/// shown.
Pages drawDeviceColumns( Canvas &canvas, int firstRow, int rows, const Model &model,
                         const View &view, const Surroundings &around );

} // namespace HostTool::Watch
