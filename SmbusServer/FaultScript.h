#pragma once

#include "SmbusServer/Fault.h"

#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

namespace SmbusServer {

struct FaultError : std::runtime_error {
    using std::runtime_error::runtime_error;
};

/// Reads one line such as "fault bus 1 chip 0x48 nack count 2".
/// @throw FaultError telling what is wrong with it.
Fault parseFault( std::string_view line );

/// Reads a file with a fault a line; empty lines and those that begin with # mean nothing.
/// @throw FaultError with file and line in front.
std::vector<Fault> loadFaults( const std::string &path );

/// Whether the kind is something that happens to an answer, not to a request on its bus.
bool isOfTheServer( FaultKind kind );

/// The grammar and every kind, a line each.
std::string faultHelp();

} // namespace SmbusServer
