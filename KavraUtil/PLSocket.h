#pragma once

#include <chrono>
#include <cstddef>
#include <string>

namespace Smbus {
class TransactionRequest;
class TransactionResponse;
} // namespace Smbus

namespace PlatformLibrary {

/// The client's end of a connection to the SMBus server, which listens on the Unix stream socket
/// that SMBUSD_SOCKET names (default /run/smbusd.sock). One request is outstanding at a time; used
/// from one thread.
class PLSocket {
  public:
    PLSocket() = default;
    PLSocket( const PLSocket & ) = delete;
    PLSocket &operator=( const PLSocket & ) = delete;
    /// Closes the descriptor unless it is -1. Does not touch the watcher.
    ~PLSocket();

    /// Connects, dropping an older connection first. One attempt, no waiting for a server.
    /// @return 0, or a negative errno value.
    int setup();

    /// Sends a batch and waits for its answer.
    ///
    /// A connection that the server has closed since the last answer is made anew first, with
    /// attempts until reconnectLimit is over. A request that was sent and not answered fails and is
    /// never sent again, because its writes may have happened; the connection is then closed.
    ///
    /// @param[out] response on success a new message that the caller deletes; otherwise null.
    /// @return 0, or a negative value with errno set: ETIMEDOUT when no answer came in time,
    ///         ECONNRESET when the server hung up, EPROTO for an answer that is no message,
    ///         EMSGSIZE for a request above the largest frame, or what connect() and send() gave.
    int sendRequestWait( Smbus::TransactionRequest *request,
                         Smbus::TransactionResponse **response );

    /// The connected descriptor, close-on-exec; -1 when closed.
    int fd = -1;
    /// Handle of a host file-descriptor watcher registered for fd; null when there is none. This
    /// implementation waits in place and registers none.
    void *watcher = nullptr;

    /// How long a server may take from the last byte of the request to the last byte of its answer.
    std::chrono::milliseconds answerLimit{ 30'000 };
    /// How long a lost connection is tried again before a request fails.
    std::chrono::milliseconds reconnectLimit{ 5'000 };

  private:
    // These return 0 or an errno value.
    int sendFrame( std::size_t size );
    int receiveAnswer( Smbus::TransactionResponse **response ); // into the one it points to
    int receiveFrame( std::size_t &size );
    void disconnect();
    /// How long one call on the descriptor may wait. Costs a system call only when it changes.
    void waitLimitIs( std::chrono::milliseconds limit );

    std::string buffer_; // one frame: the length and the body
    std::chrono::milliseconds waitLimit_{ 0 };
};

} // namespace PlatformLibrary
