#pragma once

#include "EmulatedBoard/Chip.h"

#include <memory>
#include <span>
#include <string_view>

namespace EmulatedBoard {

/// A chip that an emulation document can name.
struct ChipType {
    std::string_view name;
    std::unique_ptr<Chip> ( *create )( uint8_t address );
};

std::span<const ChipType> chipTypes();
/// @return null for a name that no chip has.
const ChipType *findChipType( std::string_view name );

} // namespace EmulatedBoard
