#include "fuzz/FakeTool.h"

#include <cstdio>
#include <utility>

namespace {

constexpr int notFound = 127 << 8;

std::string output;
int status = notFound;

} // namespace

Fuzz::FakeTool::FakeTool( std::string printed, int ended ) {
    output = std::move( printed );
    status = ended;
}

Fuzz::FakeTool::~FakeTool() {
    output.clear();
    status = notFound;
}

extern "C" FILE *popen( const char *, const char * ) {
    if ( output.empty() ) {
        return fopen( "/dev/null", "r" );
    }
    return fmemopen( output.data(), output.size(), "r" );
}

extern "C" int pclose( FILE *stream ) {
    fclose( stream );
    return status;
}
