#pragma once

#include <string>
#include <sys/types.h>

namespace HostTool::Metrics {

/// A socket that is listened on: of this machine alone, because what is read from it is nobody
/// else's business. A Unix socket's file goes with the object.
class Listener {
  public:
    /// @param where "127.0.0.1:PORT", "[::1]:PORT" (port 0 takes a free one) or "unix:PATH" (a file
    ///              that nobody listens on is replaced; made with mode 0660)
    /// @throw Failure (badInput) for an address that is none of these, or not to be had.
    explicit Listener( const std::string &where );
    ~Listener();
    Listener( const Listener & ) = delete;
    Listener &operator=( const Listener & ) = delete;

    int fd() const { return fd_; }
    /// "http://127.0.0.1:9100/metrics", "unix:PATH"
    const std::string &name() const { return name_; }

  private:
    void listenOnTcp( const std::string &where );
    void listenOnUnix( const std::string &path );
    void removeDead( const std::string &path ) const;
    [[noreturn]] void fail( const std::string &why ) const;

    std::string where_;
    std::string name_;
    std::string path_; ///< of a Unix socket that was made
    ino_t inode_ = 0;  ///< its file
    int fd_ = -1;
};

} // namespace HostTool::Metrics
