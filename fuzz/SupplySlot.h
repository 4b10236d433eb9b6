#pragma once

#include "fuzz/FakeWire.h"

#include <cstdint>
#include <functional>
#include <string>

namespace Fuzz {

/// What a chip answers to a read of so many bytes from a register.
using Chip = std::function<std::string( uint32_t reg, size_t count )>;

/// Adds the slot of a power supply, whose chip is given, and asks it twice what is in it.
/// @param settings of the driver beside "psuId" and the models, as members of a JSON object
void identify( const std::string &settings, const Chip &chip );

/// A chip that holds an image and behind it 0xff, and wraps at its size.
Chip imageChip( std::string image, size_t size );

/// The same; a read is cut off where the image ends.
Chip shortChip( std::string image );

} // namespace Fuzz
