#include "HostTool/Watch/Lines.h"

#include "HostTool/Output/Json.h"
#include "HostTool/Output/ValueText.h"
#include "HostTool/Watch/Fields.h"

namespace HostTool::Watch {

std::string changeText( const Model &model, const Change &change ) {
    const std::string why = change.reading ? whyNoValue( *change.reading ) : "";
    const std::string reason = why.empty() ? "" : ": " + oneLine( why );
    return model.items()[change.item].entry().name + ": " + change.key + " " +
           oneLine( change.before ) + " -> " + oneLine( change.after ) + reason;
}

std::string changeAsJson( const Model &model, const Change &change, double time ) {
    rapidjson::StringBuffer buffer;
    JsonWriter writer( buffer );
    writer.SetMaxDecimalPlaces( 3 );
    writer.StartObject();
    writer.Key( "time" );
    writer.Double( time );
    writer.Key( "name" );
    writeText( writer, model.items()[change.item].entry().name );
    writer.Key( "key" );
    writeText( writer, change.key );
    writer.Key( "before" );
    writeTextOrNull( writer, change.before );
    writer.Key( "after" );
    writeTextOrNull( writer, change.after );
    const std::optional<Reading> &reading = change.reading;
    writer.Key( "status" );
    writeTextOrNull( writer, reading ? nameOf( reading->status ) : "" );
    writer.Key( "reason" );
    writeTextOrNull( writer, reading ? reading->reason : "" );
    writer.Key( "freshness" );
    writeTextOrNull( writer, reading ? nameOf( reading->freshness() ) : "" );
    writer.Key( "age_s" );
    writeAge( writer, reading.value_or( Reading() ) );
    writer.EndObject();
    return buffer.GetString();
}

std::string firstText( const Item &item, Moment now ) {
    std::string text = item.entry().name + ": " + nameOf( item.state );
    for ( const std::string &reading : readingsOf( item, now ) ) {
        text += "  " + reading;
    }
    if ( item.state == State::failed ) {
        text += "  " + fieldsOf( item, now ).back();
    }
    return text;
}

std::vector<Change> firstChanges( const Model &model, size_t index ) {
    const Item &item = model.items()[index];
    std::optional<Reading> refusal;
    if ( !item.device.refusal.empty() ) {
        refusal = Reading{ {}, PL_STATUS_FAILED, item.device.refusal };
    }
    std::vector<Change> changes = { { index, "state", "", nameOf( item.state ), refusal } };
    for ( size_t i = 0; i < item.samples.size(); ++i ) {
        const Column &column = item.device.row->columns[i];
        const Reading &reading = item.samples[i].reading;
        changes.push_back( { index, column.key, "", valueText( reading, column ), reading } );
    }
    return changes;
}

} // namespace HostTool::Watch
