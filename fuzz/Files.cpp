#include "fuzz/Files.h"

#include "fuzz/Contract.h"

#include <fstream>
#include <sstream>

std::string Fuzz::textOfFile( const std::string &path ) {
    const std::ifstream file( path );
    require( file.good(), path.c_str() );
    std::ostringstream text;
    text << file.rdbuf();
    return text.str();
}
