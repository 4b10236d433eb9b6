#pragma once

#include "HostTool/Watch/Model.h"

#include <string>
#include <vector>

namespace HostTool::Watch {

/// What a change says behind its time: "inlet: temperature 24.5 C -> 31.5 C", with the reason when
/// there is no value any more.
std::string changeText( const Model &model, const Change &change );

/// The same as one line of JSON.
/// @param time in seconds since the epoch
std::string changeAsJson( const Model &model, const Change &change, double time );

/// A device that was read for the first time: "inlet: ok  temperature 24.5 C".
std::string firstText( const Item &item, Moment now );

/// Its readings and its state as changes from nothing.
std::vector<Change> firstChanges( const Model &model, size_t item );

} // namespace HostTool::Watch
