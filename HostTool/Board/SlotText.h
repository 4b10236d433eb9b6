#pragma once

#include "HostTool/Board/Documents.h"

#include <optional>
#include <string>

namespace HostTool {

struct PartIdentity {
    std::string model;
    std::optional<std::string> serial; ///< nothing where the part has none: a fan tray
};

/// What a slot's description text says of the part. A fan tray's text names its model. A supply's
/// is told by the templates that the slot was added with: the library fills the template of the
/// part's model with its serial number.
/// @param settings the slot's own, with "model_N" and "psuFdl_N"
/// @return nothing for a text that names no model and that no template makes; the first of several
///         that do.
std::optional<PartIdentity> identityIn( const std::string &description, const Settings &settings );

} // namespace HostTool
