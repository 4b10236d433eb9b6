#pragma once

#include <cstdint>
#include <span>
#include <string>
#include <vector>

namespace EmulatedBoard {

/// A FRU inventory after the IPMI Platform Management FRU Information Storage Definition: the
/// common header and a product info area with these fields in the standard's order, which is
/// manufacturer, product name, part/model number, version, serial number, asset tag, FRU file id.
/// @param fields at most 63 characters each; one of a single character gets a blank behind it,
///               because its type/length byte would be the mark of the area's end
/// @return whole areas, without what follows them in the part
std::vector<uint8_t> fruImage( std::span<const std::string> fields );

} // namespace EmulatedBoard
