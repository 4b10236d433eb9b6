#include "HostTool/Snapshot/DiffText.h"

#include "HostTool/Host/HostServices.h"
#include "HostTool/Snapshot/RecordJson.h"

namespace HostTool::Snapshot {

namespace {

void writeTexts( JsonWriter &writer, const char *key, const std::vector<std::string> &texts ) {
    writer.Key( key );
    writer.StartArray();
    for ( const std::string &each : texts ) {
        writeText( writer, each );
    }
    writer.EndArray();
}

void writeSide( JsonWriter &writer, const char *key, const std::string &name,
                const Origin &origin ) {
    writer.Key( key );
    writer.StartObject();
    writer.Key( "file" );
    writeTextOrNull( writer, name );
    writer.Key( "taken" );
    writeText( writer, origin.taken );
    writer.Key( "tool" );
    writeText( writer, origin.tool );
    writer.EndObject();
}

void writeTolerances( JsonWriter &writer, const Tolerances &tolerances ) {
    writer.Key( "tolerances" );
    writer.StartObject();
    for ( const Tolerance &row : tolerances.rows() ) {
        writer.Key( row.unit );
        writer.StartObject();
        writer.Key( "percent" );
        writeNumber( writer, row.percent );
        writer.Key( "absolute" );
        writeNumber( writer, row.absolute );
        writer.EndObject();
    }
    writer.EndObject();
}

void writeDifference( JsonWriter &writer, const Difference &difference ) {
    writer.StartObject();
    writer.Key( "group" );
    writer.String( nameOf( difference.group ) );
    writer.Key( "device" );
    writeText( writer, difference.device );
    writeTexts( writer, "keys", difference.keys );
    writer.Key( "golden" );
    writeValue( writer, difference.golden );
    writer.Key( "now" );
    writeValue( writer, difference.now );
    writer.Key( "unit" );
    writeTextOrNull( writer, difference.unit );
    writer.Key( "text" );
    writeText( writer, difference.text );
    writeTexts( writer, "with", difference.with );
    writer.EndObject();
}

} // namespace

std::string diffAsText( const DiffReport &report ) {
    std::string text;
    for ( const std::string &note : report.notes ) {
        text += "note: " + printable( note ) + "\n";
    }
    for ( const Group group : groups ) {
        bool isFirst = true;
        for ( const Difference &each : report.differences ) {
            if ( each.group != group ) {
                continue;
            }
            if ( isFirst ) {
                text.append( text.empty() ? "" : "\n" ).append( headingOf( group ) ).append( "\n" );
                isFirst = false;
            }
            text += "  " + printable( each.text ) + "\n";
        }
    }
    const size_t count = report.differences.size();
    if ( count == 0 ) {
        return text + "no difference\n";
    }
    return text + "\n" + std::to_string( count ) +
           ( count == 1 ? " difference\n" : " differences\n" );
}

std::string diffAsJson( const DiffReport &report ) {
    rapidjson::StringBuffer buffer;
    JsonWriter writer( buffer );
    writer.StartObject();
    writeSide( writer, "golden", report.goldenName, report.golden );
    writeSide( writer, "now", report.nowName, report.now );
    writeTolerances( writer, report.tolerances );
    writeTexts( writer, "notes", report.notes );
    writer.Key( "differences" );
    writer.StartArray();
    for ( const Difference &each : report.differences ) {
        writeDifference( writer, each );
    }
    writer.EndArray();
    writer.EndObject();
    return buffer.GetString() + std::string( "\n" );
}

} // namespace HostTool::Snapshot
