#pragma once

#include "KavraGeneric/Drivers/Drivers.h"
#include "tests/property/Json.h"

#include <cstdint>
#include <string>

namespace Property {

/// Device arguments as a document has them, and as they read once they are parsed.
struct ArgumentsModel {
    Json json;
    std::string expected; ///< what textOf() is to say
};

/// Any device arguments of this device, all keys in play.
ArgumentsModel drawArguments( uint32_t did );

/// Everything parsed but the pointer to the text, a field a line.
std::string textOf( const Drivers::DriverArgs &arguments );

/// The bits of an address word above the register, by the positions on the wire.
struct AddressModel {
    uint32_t address = 0;
    uint32_t bus = 0;
    uint32_t accelerator = 0;
    uint32_t writeNoStopReadCurrent = 0;
    uint32_t busTimeout = 0;
    uint32_t addrSize = 1;
    uint32_t extraDelay = 0;
    uint32_t writeDelay = 0;
    uint32_t readDelay = 0;

    uint32_t packed() const;
};

/// An "address" object, and what it means: numbers keep their low bits.
struct DrawnAddress {
    Json json;
    AddressModel meaning;
};
DrawnAddress drawAddress( uint32_t address );

/// A member of "driverArgs", and the text that drivers see.
struct Setting {
    Json json;
    std::string text;
};
Setting drawSetting();

} // namespace Property
