#pragma once

#include "fuzz/Contract.h"

#include <string>
#include <string_view>
#include <sys/mman.h>
#include <unistd.h>

namespace Fuzz {

/// A file without a disk.
class MemoryFile {
  public:
    explicit MemoryFile( std::string_view content ) : fd_( memfd_create( "input", MFD_CLOEXEC ) ) {
        require( fd_ >= 0 && write( fd_, content.data(), content.size() ) ==
                                 static_cast<ssize_t>( content.size() ),
                 "a file in memory" );
    }
    MemoryFile( const MemoryFile & ) = delete;
    MemoryFile &operator=( const MemoryFile & ) = delete;
    ~MemoryFile() { close( fd_ ); }

    std::string path() const { return "/proc/self/fd/" + std::to_string( fd_ ); }

  private:
    int fd_;
};

} // namespace Fuzz
