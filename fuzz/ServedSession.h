#pragma once

#include "SmbusServer/Listener.h"

#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace Fuzz {

/// Makes the session of the client that connects.
using NewSession = std::function<std::unique_ptr<SmbusServer::Session>(
    sd_event *loop, SmbusServer::Descriptor client, SmbusServer::Listener &listener )>;

/// Connects a client to a listener, sends the pieces one after the other and hangs up; everything
/// runs in this thread.
/// @return what the client received.
std::string serveClient( const NewSession &newSession, const std::vector<std::string> &pieces );

/// A board of a few chips, as new.
std::string smallBoard();

} // namespace Fuzz
