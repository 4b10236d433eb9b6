#pragma once

#include "HostTool/Watch/Model.h"
#include "HostTool/Watch/View.h"

#include <optional>

namespace HostTool::Watch {

/// What a key does to the view.
/// @return what a device is to be told now; nothing when the key moved the view alone, or opened a
///         question
std::optional<Command> press( View &view, const Model &model, const Key &key );

/// Tells the view what came of an order.
void report( View &view, const std::string &device, const Order &order, const Outcome &outcome );

} // namespace HostTool::Watch
