#pragma once

#include "KavraUtil/Smbus.pb.h"

#include <filesystem>
#include <string>
#include <sys/types.h>
#include <system_error>

/// What tests of the real server as a service share.
namespace Service {

inline const std::string program = BINARY_DIR "/bin/kavra-smbusd";
inline const std::string boardFile = SOURCE_DIR "/boards/VundaT/emulation.json";

/// So many reads of the inlet's sensor, of so many bytes each.
Smbus::TransactionRequest inletReads( int count, unsigned length );
/// A batch that fails: nobody has this address.
Smbus::TransactionRequest nobodyRead();

/// A Unix socket bound there, and listening if it is a stream; the caller closes it. What is
/// received on it comes within 20 s.
/// @param type SOCK_STREAM or SOCK_DGRAM.
int listenAt( const std::string &path, int type );

/// Whether a process keeps this descriptor from the programs that it starts.
bool closesOnExec( pid_t process, int fd );

std::string fileText( const std::string &path );

/// A folder that goes with the object.
class Folder {
  public:
    Folder();
    Folder( const Folder & ) = delete;
    Folder &operator=( const Folder & ) = delete;
    ~Folder() {
        std::error_code ignored;
        std::filesystem::remove_all( path_, ignored );
    }
    const std::string &path() const { return path_; }
    std::string file( const std::string &name ) const { return path_ + "/" + name; }

  private:
    std::string path_ = std::filesystem::temp_directory_path() / "service-XXXXXX";
};

} // namespace Service
