#pragma once

#include "KavraGeneric/Topology/Address.h"

#include <cstdint>
#include <map>
#include <memory>
#include <string>

namespace Drivers {

/// Device arguments, parsed: which driver, which topology device, where on the bus, and the
/// driver's own settings. Read-only once filled.
struct DriverArgs {
    /// Components a device does not name.
    static constexpr uint32_t noComponent = 0xFFFF'FFFF;

    std::string driver; ///< key of the driver registry; empty when the document says null
    uint32_t uid = 0;   ///< component within the device, or noComponent
    uint32_t did = 0;   ///< topology device
    AhamAddress address{};
    std::map<std::string, std::string> driverArgs; ///< every value as text; drivers convert
    const char *json = nullptr; ///< the text it was parsed from, the caller's; null from a document
    bool isMultiDevice = false; ///< a device made of several; it has no address
    std::map<std::string, std::string> multiDeviceArgs;
    bool provideHam = false; ///< the framework is to make an access method for the device

    /// Fills the object from a text, and keeps the pointer to it.
    /// @return false, with a trace and nothing changed, when the text is no JSON.
    bool parseJSON( const char *text );
    /// Fills the object from a parsed one. Asserts what device arguments must have.
    void parseJSON( const rapidjson::Value &value );
    static std::shared_ptr<DriverArgs> fromJSON( const rapidjson::Value &value );
};

} // namespace Drivers
