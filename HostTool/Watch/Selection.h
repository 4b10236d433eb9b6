#pragma once

#include "HostTool/Watch/Model.h"
#include "HostTool/Watch/View.h"

namespace HostTool::Watch {

/// The device that a key leads to from another: the next and the one before on the screen, the
/// first of the next class; among cages left and right stay in their row of the front panel.
/// @return the same one where there is no other, and for keys that do not move
size_t moved( const Model &model, size_t from, KeyCode key );

/// The device that is selected at first.
size_t firstOf( const Model &model );

} // namespace HostTool::Watch
