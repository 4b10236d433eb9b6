#pragma once

#include "EmulatedBoard/Board.h"

#include <stdexcept>
#include <string>

namespace EmulatedBoard {

/// A document that does not describe a board. The text is "file:line:column: message".
struct DocumentError : std::runtime_error {
    using std::runtime_error::runtime_error;
};

/// Reads an emulation document; docs/formats/emulation.md describes it.
/// @throw DocumentError for the first thing that is wrong, also when the file cannot be read.
Board loadBoard( const std::string &file );

/// The same from a text.
/// @param file names the text in messages.
Board parseBoard( const std::string &text, const std::string &file );

} // namespace EmulatedBoard
