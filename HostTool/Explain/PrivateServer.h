#pragma once

#include "HostTool/Explain/Program.h"
#include "HostTool/Explain/Traffic.h"

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

namespace HostTool::Explain {

/// A folder that goes with the object.
class TemporaryFolder {
  public:
    /// @throw Failure (unreachable) when there is no place for it.
    TemporaryFolder();
    ~TemporaryFolder();
    TemporaryFolder( const TemporaryFolder & ) = delete;
    TemporaryFolder &operator=( const TemporaryFolder & ) = delete;

    const std::string &path() const { return path_; }

  private:
    std::string path_;
};

/// An SMBus server of this program's own that serves an emulated board and records what it does.
/// There is one at a time. The library finds it by SMBUSD_SOCKET, as long as the object lives.
///
/// The server and its folder go with the object, and also when a signal or an assertion of the
/// library ends this program; when it is killed, the folder stays.
class PrivateServer {
  public:
    /// Returns when the server takes connections.
    /// @param emulation path of the document of the emulated board
    /// @throw Failure (badInput) when the document is wrong, (unreachable) without the program.
    explicit PrivateServer( const std::string &emulation );
    ~PrivateServer();
    PrivateServer( const PrivateServer & ) = delete;
    PrivateServer &operator=( const PrivateServer & ) = delete;

    /// Length of the recording, in bytes. A batch is in it when it has been answered.
    uint64_t recorded() const;
    /// Ends the server.
    /// @throw Failure (unreachable) when the recording cannot be read.
    std::vector<Transaction> stop();

  private:
    TemporaryFolder folder_;
    std::string program_;
    std::string recording_;
    std::unique_ptr<Program> server_;
};

} // namespace HostTool::Explain
