#pragma once

#include <string>

namespace HostTool {

/// The socket that the library will connect to: $SMBUSD_SOCKET, else /run/smbusd.sock.
std::string serverSocket();

struct ServerConnection {
    int fd;    ///< the caller's to close; -1 when there is none
    int error; ///< an errno value; 0 when there is one
};

/// Connects without waiting.
ServerConnection connectToServer( const std::string &socketPath );

/// Tries the SMBus server's socket once.
/// @return the reason why there is no server ("no such file or directory"); empty when there is
/// one.
std::string whyNoServer( const std::string &socketPath );

/// The message for a server that cannot be had: which socket, why, and how to start one.
std::string noServerMessage( const std::string &socketPath, const std::string &reason,
                             const std::string &boardFolder );

} // namespace HostTool
