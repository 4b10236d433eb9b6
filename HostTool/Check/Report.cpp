#include "HostTool/Check/Report.h"

#include "HostTool/Host/HostServices.h"
#include "HostTool/Output/Json.h"

#include <algorithm>
#include <tuple>
#include <vector>

namespace HostTool::Check {

namespace {

struct Line {
    const Finding *finding;
    Place place;
};

std::vector<Line> sorted( const Findings &findings, Severity severity ) {
    std::vector<Line> lines;
    for ( const Finding &finding : findings.all() ) {
        if ( finding.rule->severity == severity ) {
            lines.push_back( { &finding, finding.document->placeOf( finding.spot ) } );
        }
    }
    std::stable_sort( lines.begin(), lines.end(), []( const Line &left, const Line &right ) {
        const auto key = []( const Line &line ) {
            return std::tie( line.finding->document->path(), line.place.line, line.place.column );
        };
        return key( left ) < key( right );
    } );
    return lines;
}

std::string counted( size_t count, const char *what ) {
    return std::to_string( count ) + " " + what + ( count == 1 ? "" : "s" );
}

std::string asText( const Line &line ) {
    const Finding &finding = *line.finding;
    return finding.document->path() + ":" + std::to_string( line.place.line ) + ":" +
           std::to_string( line.place.column ) + ": " + nameOf( finding.rule->severity ) + ": " +
           printable( finding.text ) + " [" + finding.rule->name +
           "]\n    hint: " + printable( finding.hint ) + "\n";
}

void writeLine( JsonWriter &writer, const Line &line ) {
    const Finding &finding = *line.finding;
    writer.StartObject();
    writer.Key( "file" );
    writeText( writer, finding.document->path() );
    writer.Key( "line" );
    writer.Uint64( line.place.line );
    writer.Key( "column" );
    writer.Uint64( line.place.column );
    writer.Key( "rule" );
    writer.String( finding.rule->name );
    writer.Key( "text" );
    writeText( writer, finding.text );
    writer.Key( "hint" );
    writeText( writer, finding.hint );
    writer.EndObject();
}

struct Group {
    Severity severity;
    const char *key;
};
constexpr Group groups[] = { { Severity::error, "errors" }, { Severity::warning, "warnings" } };

} // namespace

std::string reportAsText( const Findings &findings ) {
    std::string text;
    for ( const Group &group : groups ) {
        for ( const Line &line : sorted( findings, group.severity ) ) {
            text += asText( line );
        }
    }
    return text + counted( findings.count( Severity::error ), "error" ) + ", " +
           counted( findings.count( Severity::warning ), "warning" ) + "\n";
}

std::string reportAsJson( const Findings &findings ) {
    rapidjson::StringBuffer buffer;
    JsonWriter writer( buffer );
    writer.StartObject();
    for ( const Group &group : groups ) {
        writer.Key( group.key );
        writer.StartArray();
        for ( const Line &line : sorted( findings, group.severity ) ) {
            writeLine( writer, line );
        }
        writer.EndArray();
    }
    writer.EndObject();
    return buffer.GetString() + std::string( "\n" );
}

} // namespace HostTool::Check
