#pragma once

#include "HostTool/Watch/Canvas.h"
#include "HostTool/Watch/Look.h"
#include "HostTool/Watch/Model.h"
#include "HostTool/Watch/View.h"

#include <string>

namespace HostTool::Watch {

/// What the screen says beside the devices.
struct Surroundings {
    Look look;
    Moment now;
    std::string board;     ///< the folder's name
    std::string clock;     ///< "13:05:12"
    std::string lastEvent; ///< the latest change
};

/// The smallest screen that shows a board.
inline constexpr Size smallestSize = { 20, 78 };

/// Draws the whole screen. Pure: the same arguments give the same canvas.
Canvas layOut( const Model &model, const View &view, const Surroundings &around, Size size );

} // namespace HostTool::Watch
