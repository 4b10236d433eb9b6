#pragma once

#include "HostTool/Board/Documents.h"
#include "HostTool/Check/Arguments.h"

#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace HostTool::Check {

/// One setting that a driver reads.
struct Setting {
    enum class Kind { number, boolean, text };
    enum class Need {
        optional,
        asserted, ///< without it the library stops
        asked,    ///< without it the library does not add the device
    };
    /// What comes of a number that is not between low and high.
    enum class Beyond { isWrapped, isAsserted, isNoBit, isUseless };

    const char *key;
    Kind kind;
    Need need;
    int64_t low;
    int64_t high;
    Beyond beyond;
    bool isByte; ///< the driver keeps its low 8 bits
    /// Whether the driver reads it beside those other settings; null: always.
    bool ( *applies )( const Arguments &arguments );
};

struct ClassRow {
    DeviceClass deviceClass;
    std::span<const Setting> settings; ///< read for each device of the class
};

struct DriverRow {
    const char *name;
    std::span<const Setting> creation; ///< read when the first device of the chip is added
    std::span<const ClassRow> classes; ///< that it offers beside gpio, which all drivers offer
    /// The chips of an emulated board that it drives, blanks between them; empty: any.
    std::string_view chips;
    bool ownsChip;       ///< false: it looks at a chip that may have a driver of its own
    bool accessesAtOnce; ///< uses its access method while it is added, without looking for one
    bool needsChip;      ///< stops when the chip does not answer while it is added, or soon after
};

/// @return null for a driver that there is not.
const DriverRow *findDriver( std::string_view name );
std::vector<std::string> driverNames();

/// Whether a supply's slot asks a tool of the platform, and no chip of its own.
bool usesOnlyTool( const Arguments &slot );

/// @return null for a class that the driver does not offer.
const ClassRow *findClass( const DriverRow &driver, DeviceClass deviceClass );
/// The classes that a driver offers, as a person reads them.
std::string classesOf( const DriverRow &driver );

/// Every setting that the driver reads for some device.
std::vector<std::string> knownSettings( const DriverRow &driver );

} // namespace HostTool::Check
