#include "SmbusServer/StartLock.h"

#include "SmbusServer/UnixSocket.h"

#include <cerrno>
#include <chrono>
#include <cstring>
#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <thread>
#include <unistd.h>

namespace SmbusServer {

constexpr std::chrono::seconds longestWait{ 5 };
constexpr std::chrono::milliseconds pauseBetweenAttempts{ 2 };

StartLock::StartLock( const std::string &socketPath )
    : socketPath_( socketPath ), path_( socketPath + ".lock" ) {
    const auto giveUp = std::chrono::steady_clock::now() + longestWait;
    while ( !tryToLock() ) {
        if ( std::chrono::steady_clock::now() >= giveUp ) {
            throw SocketError( socketPath_ + ": another server has been starting for too long" );
        }
        std::this_thread::sleep_for( pauseBetweenAttempts );
    }
}

// Whoever had the lock before has removed the file while we waited: then ours is a lock on nothing
// that others see.
static bool isThere( int fd, const std::string &path ) {
    struct stat locked;
    struct stat there;
    return fstat( fd, &locked ) == 0 && lstat( path.c_str(), &there ) == 0 &&
           locked.st_dev == there.st_dev && locked.st_ino == there.st_ino;
}

bool StartLock::tryToLock() {
    descriptor_ = Descriptor(
        open( path_.c_str(), O_RDWR | O_CREAT | O_CLOEXEC | O_NOFOLLOW | O_NONBLOCK, 0600 ) );
    if ( !descriptor_.valid() ) {
        throw SocketError( socketPath_ + ": " + strerror( errno ) );
    }
    return flock( descriptor_.get(), LOCK_EX | LOCK_NB ) == 0 &&
           isThere( descriptor_.get(), path_ );
}

StartLock::~StartLock() {
    unlink( path_.c_str() );
}

} // namespace SmbusServer
