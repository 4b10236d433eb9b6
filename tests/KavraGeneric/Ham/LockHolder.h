#pragma once

#include <fcntl.h>
#include <string>
#include <sys/types.h>

/// Another process with a lock on a whole file. It has the lock when the constructor returns; after
/// 10 s without a word or a waiter it gives up and ends.
class LockHolder {
  public:
    /// @param type F_RDLCK or F_WRLCK
    LockHolder( std::string path, short type );
    LockHolder( const LockHolder & ) = delete;
    LockHolder &operator=( const LockHolder & ) = delete;
    ~LockHolder();

    /// Once this process waits for a lock of the kind, "READ" or "WRITE", on a whole file, the text
    /// is written into the file and the lock is let go.
    void changeOnceWaitedFor( const std::string &kind, const std::string &newText );
    /// Has the lock let go, unless it waits for a waiter, and waits for the other process to end.
    /// @return false when it had given up.
    bool release();

    /// Could another process lock the file for writing now?
    static bool isFree( const std::string &path );

  private:
    std::string path_;
    int order_ = -1; // the pipe to the other process; closing it ends the order
    pid_t process_ = -1;
};
