#pragma once

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>

/// The folder of this process's simulation files, and the environment that names it. The library
/// looks for the folder's name until it is set and then keeps it, so there is one for all tests of
/// a process; it goes when the process ends. The child of a death test shares its parent's.
class SimulationFolder {
  public:
    static const std::filesystem::path &path() {
        static const SimulationFolder folder;
        return folder.path_;
    }

    static std::string read( const std::string &file ) {
        std::ostringstream text;
        text << std::ifstream( path() / file ).rdbuf();
        return text.str();
    }

    static void write( const std::string &file, const std::string &text ) {
        std::ofstream( path() / file, std::ios::trunc ) << text;
    }

  private:
    SimulationFolder() {
        if ( const char *parents = std::getenv( inherited ) ) {
            path_ = parents;
        } else {
            std::string pattern = std::filesystem::temp_directory_path() / "kavra-sim-XXXXXX";
            path_ = mkdtemp( pattern.data() );
            owned_ = true;
            setenv( inherited, path_.c_str(), 1 );
        }
        setenv( "KAVRALIB_SIMDIR", path_.c_str(), 1 );
    }

    ~SimulationFolder() {
        if ( owned_ ) {
            std::error_code ignored;
            std::filesystem::remove_all( path_, ignored );
        }
    }

    static constexpr const char *inherited = "SIMULATION_FOLDER_OF_PARENT";

    std::filesystem::path path_;
    bool owned_ = false;
};
