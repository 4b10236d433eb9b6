#include "HostTool/Metrics/TextFile.h"
#include "HostTool/Failure.h"

#include <gtest/gtest.h>

using HostTool::Failure;
using HostTool::Metrics::checkTextFileName;

TEST( TextFileTest, NameMustEndAsTheNodeExporterWantsIt ) {
    checkTextFileName( "kavra.prom" );
    checkTextFileName( "/a.b/kavra.prom" );
    for ( const char *name : { "kavra", "kavra.prom.txt", ".prom", "a.prom/", "/a.prom/b" } ) {
        EXPECT_THROW( checkTextFileName( name ), Failure ) << name;
    }
}
