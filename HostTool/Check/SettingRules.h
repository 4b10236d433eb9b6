#pragma once

#include "HostTool/Check/Arguments.h"
#include "HostTool/Check/DriverTable.h"

#include <optional>
#include <string>

namespace HostTool::Check {

/// What the library's conversion makes of a text: a number at its start, and the rest of it.
struct TextNumber {
    int64_t value;
    bool isWhole; ///< nothing is left of the text
    bool fits;    ///< in 32 bits with sign; the library throws for what does not
};
/// @return nothing when there is no number at all, for which the library throws.
std::optional<TextNumber> numberOf( const std::string &text );

/// Holds the settings to what the driver reads of them.
/// @param owner how messages call the device, "'inlet': "
void checkSettings( std::span<const Setting> settings, const Arguments &arguments,
                    const std::string &owner, Findings &findings );

/// Settings that nothing reads.
void checkUnknownSettings( const DriverRow &driver, const Arguments &arguments,
                           const std::string &owner, Findings &findings );

} // namespace HostTool::Check
