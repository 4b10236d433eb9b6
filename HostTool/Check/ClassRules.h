#pragma once

#include "HostTool/Check/Arguments.h"
#include "HostTool/Check/DriverTable.h"

#include <string>

namespace HostTool::Check {

/// What a driver wants of its settings for a class beyond numbers and truth values.
void checkClass( const DriverRow &driver, DeviceClass deviceClass, const Arguments &arguments,
                 const std::string &owner, Findings &findings );

/// The numbers of an address: bits that are dropped, and the width of register addresses.
void checkAddressNumbers( const Arguments &arguments, const std::string &owner,
                          Findings &findings );

/// The name that simulation wants to be a text.
void checkSimulationName( const Arguments &arguments, const std::string &owner,
                          Findings &findings );

} // namespace HostTool::Check
