#pragma once

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>

/// The path of a file in a folder of its own, which goes with the object.
class TemporaryFile {
  public:
    TemporaryFile() {
        std::string pattern = std::filesystem::temp_directory_path() / "kavra-file-XXXXXX";
        folder_ = mkdtemp( pattern.data() );
    }
    TemporaryFile( const TemporaryFile & ) = delete;
    TemporaryFile &operator=( const TemporaryFile & ) = delete;
    ~TemporaryFile() {
        std::error_code ignored;
        std::filesystem::remove_all( folder_, ignored );
    }

    std::string path() const { return folder_ / "file"; }
    void write( const std::string &bytes ) const {
        std::ofstream( path(), std::ios::binary | std::ios::trunc ) << bytes;
    }
    std::string read() const {
        std::ostringstream bytes;
        bytes << std::ifstream( path(), std::ios::binary ).rdbuf();
        return bytes.str();
    }

  private:
    std::filesystem::path folder_;
};
