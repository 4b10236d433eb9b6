#include "HostTool/Host/ProgramFolder.h"

#include <filesystem>

namespace HostTool {

std::string programFolder() {
    std::error_code ignored;
    return std::filesystem::read_symlink( "/proc/self/exe", ignored ).parent_path().string();
}

} // namespace HostTool
