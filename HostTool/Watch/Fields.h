#pragma once

#include "HostTool/Watch/Look.h"
#include "HostTool/Watch/Model.h"

#include <string>
#include <vector>

namespace HostTool::Watch {

/// The text with a blank in place of each line end.
std::string oneLine( std::string text );

/// "12 s", "3 min", "2 h": how long ago something was.
std::string ageText( Moment since, Moment now );

/// What a device's line says, the most important first: as many are shown as there is room for. A
/// value that failed says so, what it was when it was last read and how long ago, and why.
std::vector<std::string> fieldsOf( const Item &item, Moment now );

/// Every reading with its name in short: "power_ok yes", "in 230.00 V".
std::vector<std::string> readingsOf( const Item &item, Moment now );

/// How the state of a device is coloured.
Tint tintOf( State state );

/// True for a few seconds after a value or the state became another.
bool hasJustChanged( const Item &item, Moment now );

/// A fan's speed in percent of its full speed; nothing when either is not known.
std::optional<int> percentOf( const Item &fan );

/// The character and colour of a lamp: dark, lit, or nothing when it was never told. Without
/// colour, a lit lamp is the letter of its setting.
Glyph lampGlyph( const Item &lamp, const Model &model, const Look &look );

} // namespace HostTool::Watch
