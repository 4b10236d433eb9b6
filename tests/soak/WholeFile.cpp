#include "tests/soak/WholeFile.h"

#include <fstream>
#include <sstream>
#include <stdexcept>

namespace Soak {

std::string contentOf( const std::string &path ) {
    const std::ifstream file( path );
    if ( !file ) {
        throw std::runtime_error( path + " cannot be read" );
    }
    std::stringstream text;
    text << file.rdbuf();
    return text.str();
}

} // namespace Soak
