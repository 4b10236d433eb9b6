#pragma once

#include "HostTool/Check/Finding.h"
#include "HostTool/Check/Values.h"

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace HostTool::Check {

/// Device arguments as the library takes them: from an entry of devices.json, from a device of the
/// topology that names a driver, or from a document of their own.
struct Arguments {
    const JsonFile *document;
    const Value *json;
    std::string_view driver; ///< empty for null
    uint32_t did;
    std::optional<uint32_t> uid; ///< nothing: the device itself, and no component of it
    bool isMultiple;
    bool providesHam;
    uint8_t address; ///< the bits that are kept
    uint8_t accelerator;
    const Value *settings; ///< null: none

    /// @return nothing when the shape is not right.
    static std::optional<Arguments> from( const JsonFile &document, const Value &json );

    /// Whether there is an address of the right shape.
    bool saysAddress() const;
    /// @return null for a setting that is not there.
    const Value *setting( std::string_view key ) const;
    /// Where a setting would be that is missing.
    Spot placeFor( std::string_view key ) const {
        return lacking( settings ? *settings : *json, key );
    }
};

/// The text that a driver gets for the value of a setting.
std::string settingText( const Value &value );

} // namespace HostTool::Check
