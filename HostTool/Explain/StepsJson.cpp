#include "HostTool/Explain/BusTime.h"
#include "HostTool/Explain/CostJson.h"
#include "HostTool/Explain/Report.h"
#include "HostTool/Output/Json.h"

namespace HostTool::Explain {

namespace {

constexpr const char *roleNames[] = { "access", "select",
                                      "deselect" }; // in the order of Role::What

void writeHex( JsonWriter &writer, const std::string &bytes ) {
    constexpr char digits[] = "0123456789abcdef";
    std::string text;
    for ( const char each : bytes ) {
        const auto byte = static_cast<unsigned char>( each );
        text += digits[byte >> 4];
        text += digits[byte & 0xf];
    }
    writeText( writer, text );
}

void writeMux( JsonWriter &writer, const Role &role ) {
    writer.Key( "role" );
    writer.String( roleNames[static_cast<size_t>( role.what )] );
    writer.Key( "mux" );
    if ( !role.mux ) {
        writer.Null();
        return;
    }
    writer.StartObject();
    writer.Key( "did" );
    writer.Uint( role.mux->did );
    writer.Key( "label" );
    writeTextOrNull( writer, role.mux->label );
    writer.Key( "channel" );
    writeTextOrNull( writer, role.channel ? role.channel->label : "" );
    writer.EndObject();
}

void writeRequest( JsonWriter &writer, const Request &request, const Role &role,
                   const Wiring &wiring ) {
    writer.StartObject();
    writeBus( writer, request.bus, wiring );
    writeMux( writer, role );
    writer.Key( "operation" );
    writer.String( nameOf( request.operation ) );
    writer.Key( "chip" );
    writer.Uint( request.chip );
    writer.Key( "register" );
    writer.Uint( request.reg );
    writer.Key( "length" );
    writer.Uint( request.length );
    writer.Key( "pec" );
    writer.Bool( request.pec );
    writer.Key( "written" );
    writeHex( writer, request.written );
    writer.Key( "read" );
    writeHex( writer, request.read );
    writer.Key( "outcome" );
    writer.String( nameOf( request.outcome ) );
    writer.Key( "failed_attempts" );
    writer.Uint( request.failedAttempts );
    writer.Key( "causes" );
    writeTextOrNull( writer, request.causes );
    writer.EndObject();
}

void writeTransaction( JsonWriter &writer, const Transaction &transaction, const Wiring &wiring ) {
    const std::vector<Role> roles = wiring.rolesIn( transaction );
    writer.StartObject();
    writer.Key( "requests" );
    writer.StartArray();
    for ( size_t i = 0; i < roles.size(); ++i ) {
        writeRequest( writer, transaction.requests[i], roles[i], wiring );
    }
    writer.EndArray();
    writer.Key( "error" );
    writeTextOrNull( writer, transaction.error );
    writer.EndObject();
}

void writeStep( JsonWriter &writer, const Step &step, const Wiring &wiring ) {
    writer.StartObject();
    writer.Key( "name" );
    writeText( writer, step.name );
    writer.Key( "kind" );
    writer.String( nameOf( step.kind ) );
    writer.Key( "turn" );
    writer.String( nameOf( step.turn ) );
    writer.Key( "period_ms" );
    if ( step.kind == StepKind::poll ) {
        writer.Uint( step.periodMs );
    } else {
        writer.Null();
    }
    writer.Key( "trouble" );
    writeTextOrNull( writer, step.trouble );
    writer.Key( "sum" );
    writeCost( writer, costOf( step.transactions ) );
    writer.Key( "transactions" );
    writer.StartArray();
    for ( const Transaction &each : step.transactions ) {
        writeTransaction( writer, each, wiring );
    }
    writer.EndArray();
    writer.EndObject();
}

} // namespace

std::string stepsAsJson( const std::vector<DeviceSteps> &devices, const Wiring &wiring ) {
    rapidjson::StringBuffer buffer;
    JsonWriter writer( buffer );
    writer.StartObject();
    writer.Key( "devices" );
    writer.StartArray();
    for ( const DeviceSteps &device : devices ) {
        writer.StartObject();
        writeEntryKeys( writer, *device.entry );
        writer.Key( "refusal" );
        writeTextOrNull( writer, device.refusal );
        writer.Key( "steps" );
        writer.StartArray();
        for ( const Step &each : device.steps ) {
            writeStep( writer, each, wiring );
        }
        writer.EndArray();
        writer.EndObject();
    }
    writer.EndArray();
    writer.EndObject();
    return buffer.GetString() + std::string( "\n" );
}

} // namespace HostTool::Explain
