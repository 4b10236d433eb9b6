#include "HostTool/Output/WholeFile.h"

#include "HostTool/Failure.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <string_view>

namespace HostTool {

namespace {

constexpr mode_t readableByAll = 0644;

[[noreturn]] void refuse( const std::string &path, const std::string &reason ) {
    throw Failure( ExitCode::badInput, "cannot write " + path + ": " + reason );
}

bool writeAll( int fd, std::string_view text ) {
    while ( !text.empty() ) {
        const ssize_t written = write( fd, text.data(), text.size() );
        if ( written < 0 && errno != EINTR ) {
            return false;
        }
        text.remove_prefix( written < 0 ? 0 : static_cast<size_t>( written ) );
    }
    return fchmod( fd, readableByAll ) == 0 && fsync( fd ) == 0;
}

// A renamed file is safe when its folder is on the disk too; where folders cannot be synchronised,
// the file is in place all the same.
void syncFolder( const std::string &folder ) {
    const int fd = open( folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC );
    if ( fd >= 0 ) {
        fsync( fd );
        close( fd );
    }
}

} // namespace

WholeFile::WholeFile( std::string path ) : path_( std::move( path ) ) {
    folder_ = std::filesystem::path( path_ ).parent_path();
    if ( folder_.empty() ) {
        folder_ = ".";
    }
    struct stat status = {};
    if ( stat( folder_.c_str(), &status ) != 0 ) {
        refuse( path_, strerror( errno ) );
    }
    if ( !S_ISDIR( status.st_mode ) ) {
        refuse( path_, strerror( ENOTDIR ) );
    }
    if ( access( folder_.c_str(), W_OK | X_OK ) != 0 ) {
        refuse( path_, strerror( errno ) );
    }
    // A device or a pipe would be gone behind the file that is laid over it.
    if ( stat( path_.c_str(), &status ) == 0 && !S_ISREG( status.st_mode ) ) {
        refuse( path_, S_ISDIR( status.st_mode ) ? strerror( EISDIR ) : "not a regular file" );
    }
}

void WholeFile::write( const std::string &text ) const {
    // Hidden, and behind the file's own extension: nobody takes it for the file.
    std::string aside =
        folder_ + "/." + std::filesystem::path( path_ ).filename().string() + ".XXXXXX";
    const int fd = mkostemp( aside.data(), O_CLOEXEC );
    if ( fd < 0 ) {
        refuse( path_, strerror( errno ) );
    }
    bool isWritten = writeAll( fd, text );
    int error = errno;
    if ( close( fd ) != 0 && isWritten ) {
        isWritten = false;
        error = errno;
    }
    if ( isWritten && rename( aside.c_str(), path_.c_str() ) != 0 ) {
        isWritten = false;
        error = errno;
    }
    if ( !isWritten ) {
        unlink( aside.c_str() );
        refuse( path_, strerror( error ) );
    }
    syncFolder( folder_ );
}

} // namespace HostTool
