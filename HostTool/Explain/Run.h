#pragma once

#include "HostTool/Explain/Steps.h"
#include "HostTool/Host/Library.h"
#include "HostTool/Options.h"

#include <vector>

namespace HostTool::Explain {

class PrivateServer;

/// Does with the devices all that a host does: initialises their classes, adds them in the order of
/// the document, calls what reads, lets the library poll, reads again, and at last calls what tells
/// them something.
///
/// A poll reads what all devices of its chip have asked for. So the other devices of a chip that is
/// polled are added and read too; that is no step of anybody.
///
/// @return what each device put on the wires; the server is stopped.
/// @throw Failure (badInput) when the library refuses the topology; (unreachable) when the library
///        does not poll as it said. An assertion of the library ends the process.
std::vector<DeviceSteps> run( PrivateServer &server, const Library &library, const Board &board,
                              const std::vector<const Entry *> &entries );

} // namespace HostTool::Explain
