#pragma once

#include <string>

namespace SmbusServer {

/// Sends one line to a control socket and prints the answer: data on stdout, an error on stderr.
/// @return the exit code: 0 ok, 1 an error was answered, 3 no server or no whole answer.
int runControlClient( const std::string &path, const std::string &line );

} // namespace SmbusServer
