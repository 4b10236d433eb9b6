#pragma once

#include "HostTool/Watch/Layout.h"

namespace HostTool::Watch {

/// How many rows the front panel takes on a screen of this width; 0 for a board without cages.
int portPanelRows( const Model &model, int columns );

/// Draws the front panel: the first cage on top, the second below it, the third beside the first.
/// @return the row behind it
int drawPortPanel( Canvas &canvas, int row, const Model &model, const View &view,
                   const Surroundings &around );

/// What is in a cage, the most urgent first: failed, held in reset, a fault, switched off, no
/// signal, asking for attention; a module; nothing.
Glyph cageGlyph( const Item &cage, const Look &look );

} // namespace HostTool::Watch
