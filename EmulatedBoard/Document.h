#pragma once

#include "EmulatedBoard/Board.h"
#include "EmulatedBoard/DocumentReader.h"

#include <string>

namespace EmulatedBoard {

/// Reads an emulation document; docs/formats/emulation.md describes it.
/// @throw DocumentError for the first thing that is wrong, also when the file cannot be read.
Board loadBoard( const std::string &file );

/// The same from a text.
/// @param file names the text in messages.
Board parseBoard( const std::string &text, const std::string &file );

} // namespace EmulatedBoard
