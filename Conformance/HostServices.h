#pragma once

#include <cstddef>
#include <set>
#include <string>

/// What this program is to the library that it loaded: the services that the contract names, and
/// the functions of the C library that a check wants to see called.
namespace Conformance::HostServices {

/// Traces heard since the process began.
size_t traces();
/// The latest of them; empty when there was none.
const std::string &lastTrace();

/// Calls the callback of every timer that is armed now, once, without waiting for its time. One
/// that an earlier callback deletes is not called.
/// @return how many were called
size_t fireTimers();
size_t armedTimers();

/// While time is skipped the C library's sleeps return at once.
void skipSleeps( bool skipped );

/// The library whose look-ups in the environment count wherever it lies.
void watchEnvironmentOf( const std::string &library );
/// Names of environment variables that this library has asked for, or another one that lies outside
/// the system's folders.
const std::set<std::string> &variablesRead();

} // namespace Conformance::HostServices
