#include "EmulatedBoard/Chips.h"

#include "EmulatedBoard/Eeprom24c02.h"
#include "EmulatedBoard/FanCpld.h"
#include "EmulatedBoard/Lm75.h"
#include "EmulatedBoard/Pca9548.h"
#include "EmulatedBoard/PmbusSupply.h"
#include "EmulatedBoard/PortLedCpld.h"
#include "EmulatedBoard/QsfpModule.h"
#include "EmulatedBoard/SfpModule.h"
#include "EmulatedBoard/SlotRegister.h"
#include "EmulatedBoard/SystemLedCpld.h"
#include "EmulatedBoard/XcvrCpld.h"

#include <algorithm>

namespace EmulatedBoard {

template <class Type>
static std::unique_ptr<Chip> make( uint8_t address ) {
    return std::make_unique<Type>( address );
}

// Every chip has its knobs in docs/emulated-board.md.
static constexpr ChipType types[] = {
    { "LM75", make<Lm75> },
    { "PCA9548", make<Pca9548> },
    { "24C02", make<Eeprom24c02> },
    { "PmbusSupply", make<PmbusSupply> },
    { "SlotRegister", make<SlotRegister> },
    { "FanCpld", make<FanCpld> },
    { "XcvrCpld", make<XcvrCpld> },
    { "QsfpModule", make<QsfpModule> },
    { "SfpModule", make<SfpModule> },
    { "PortLedCpld", make<PortLedCpld> },
    { "SystemLedCpld", make<SystemLedCpld> },
};

std::span<const ChipType> chipTypes() {
    return types;
}

const ChipType *findChipType( std::string_view name ) {
    const auto *found = std::ranges::find( types, name, &ChipType::name );
    return found == std::end( types ) ? nullptr : found;
}

} // namespace EmulatedBoard
