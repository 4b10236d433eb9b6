#pragma once

#include "SmbusServer/Descriptor.h"

#include <stdexcept>
#include <string>
#include <sys/types.h>

namespace SmbusServer {

struct SocketError : std::runtime_error {
    using std::runtime_error::runtime_error;
};

/// Connects to a Unix stream socket, close-on-exec.
/// @return an invalid descriptor with errno set when nobody listens there.
Descriptor connectTo( const std::string &path, bool nonBlocking );

/// Where a socket is bound; empty when it is nowhere.
std::string socketPath( int fd );

/// A Unix stream socket that listens, with mode 0660. A file left behind by a server that is gone
/// is replaced, a live one never, also when several servers start at once. The file goes with the
/// object, unless somebody has put another one in its place.
class ListeningSocket {
  public:
    /// @throw SocketError naming the path and the reason, for example a live server there.
    explicit ListeningSocket( const std::string &path );
    /// A socket that somebody else listens on and keeps: its file stays.
    explicit ListeningSocket( Descriptor handedOver );
    ListeningSocket( ListeningSocket && ) = default;
    ListeningSocket( const ListeningSocket & ) = delete;
    ListeningSocket &operator=( const ListeningSocket & ) = delete;
    ~ListeningSocket();

    int fd() const { return descriptor_.get(); }
    const std::string &path() const { return path_; }

    /// Lets the members of a group connect.
    /// @throw SocketError when the file cannot be given to the group.
    void groupIs( gid_t group ) const;
    /// Listens no more: who connects now is refused, or waits where the socket was handed over.
    void close();

  private:
    void removeStale() const;
    void listenThere();

    std::string path_;
    Descriptor descriptor_;
    dev_t device_ = 0; // of the file; both 0 when it is not ours to remove
    ino_t inode_ = 0;
};

} // namespace SmbusServer
