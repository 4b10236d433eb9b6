#pragma once

#include <cstdlib>
#include <filesystem>
#include <string>
#include <system_error>

namespace Fuzz {

/// A folder for the process and its children, which may end without a word: the one that made it
/// removes it.
class TemporaryFolder {
  public:
    TemporaryFolder() {
        if ( const char *parents = std::getenv( inherited ) ) {
            path_ = parents;
            return;
        }
        std::string pattern = std::filesystem::temp_directory_path() / "kavra-fuzz-XXXXXX";
        path_ = mkdtemp( pattern.data() );
        owned_ = true;
        setenv( inherited, path_.c_str(), 1 );
    }
    TemporaryFolder( const TemporaryFolder & ) = delete;
    TemporaryFolder &operator=( const TemporaryFolder & ) = delete;
    ~TemporaryFolder() {
        if ( owned_ ) {
            std::error_code ignored;
            std::filesystem::remove_all( path_, ignored );
            unsetenv( inherited );
        }
    }

    const std::filesystem::path &path() const { return path_; }

    void clear() const {
        for ( const auto &file : std::filesystem::directory_iterator( path_ ) ) {
            std::filesystem::remove_all( file.path() );
        }
    }

  private:
    static constexpr const char *inherited = "KAVRA_FUZZ_FOLDER";

    std::filesystem::path path_;
    bool owned_ = false;
};

} // namespace Fuzz
