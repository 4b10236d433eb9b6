#include "tests/soak/Report.h"

#include <rapidjson/prettywriter.h>
#include <rapidjson/stringbuffer.h>

#include <algorithm>
#include <cinttypes>
#include <cstdio>
#include <fstream>
#include <stdexcept>

namespace Soak {

bool Report::flat() const {
    return std::ranges::all_of( watched, []( const auto &each ) { return each.growth().empty(); } );
}

void Report::print() const {
    printf( "%-24s %s, seed %" PRIu64 "\n", "run", mode.c_str(), seed );
    for ( const auto &[name, count] : counts ) {
        printf( "%-24s %" PRIu64 "\n", name.c_str(), count );
    }
    printf( "%-24s %" PRIu64 "\n", "wrong readings", wrongReadings );
    printf( "%-24s %.1f\n", "wall seconds", wallSeconds );
    for ( const FootprintWatch &each : watched ) {
        for ( size_t kind = 0; kind < Footprint::names.size(); ++kind ) {
            printf( "%-24s %" PRIu64 " at most in the first half, %" PRIu64 " in the last\n",
                    ( each.name() + " " + Footprint::names[kind] ).c_str(),
                    each.firstHalf().amounts[kind], each.lastHalf().amounts[kind] );
        }
    }
    printf( "%-24s %s\n", "result", passed() ? "passed" : "FAILED" );
    fflush( stdout );
    for ( const FootprintWatch &each : watched ) {
        fputs( each.growth().c_str(), stderr );
    }
}

using Writer = rapidjson::PrettyWriter<rapidjson::StringBuffer>;

static void write( Writer &writer, const Footprint &footprint ) {
    writer.StartObject();
    for ( size_t kind = 0; kind < Footprint::names.size(); ++kind ) {
        writer.Key( Footprint::names[kind] );
        writer.Uint64( footprint.amounts[kind] );
    }
    writer.EndObject();
}

void Report::writeJson( const std::string &path ) const {
    rapidjson::StringBuffer text;
    Writer writer( text );
    writer.StartObject();
    writer.Key( "mode" );
    writer.String( mode.c_str() );
    writer.Key( "seed" );
    writer.Uint64( seed );
    for ( const auto &[name, count] : counts ) {
        writer.Key( name.c_str() );
        writer.Uint64( count );
    }
    writer.Key( "wrong readings" );
    writer.Uint64( wrongReadings );
    writer.Key( "wall seconds" );
    writer.Double( wallSeconds );
    for ( const FootprintWatch &each : watched ) {
        writer.Key( each.name().c_str() );
        writer.StartObject();
        writer.Key( "first half" );
        write( writer, each.firstHalf() );
        writer.Key( "last half" );
        write( writer, each.lastHalf() );
        writer.EndObject();
    }
    writer.Key( "passed" );
    writer.Bool( passed() );
    writer.EndObject();
    std::ofstream file( path );
    file << text.GetString() << '\n';
    if ( !file.flush() ) {
        throw std::runtime_error( path + " cannot be written" );
    }
}

} // namespace Soak
