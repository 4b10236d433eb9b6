#pragma once

#include "SmbusServer/Descriptor.h"

#include <string>

namespace SmbusServer {

/// Held by one server at a time, for as long as it takes to look at a socket file, replace it when
/// it is stale, and listen there. The lock is a file with ".lock" behind the socket's path, which
/// is gone afterwards.
class StartLock {
  public:
    /// Waits until no other server is starting at this path.
    /// @throw SocketError when the lock cannot be had within 5 s.
    explicit StartLock( const std::string &socketPath );
    StartLock( const StartLock & ) = delete;
    StartLock &operator=( const StartLock & ) = delete;
    ~StartLock();

  private:
    bool tryToLock();

    std::string socketPath_;
    std::string path_;
    Descriptor descriptor_;
};

} // namespace SmbusServer
