#include "HostTool/Output/Json.h"

#include <array>
#include <charconv>

namespace HostTool {

void writeText( JsonWriter &writer, const std::string &text ) {
    writer.String( text.data(), static_cast<rapidjson::SizeType>( text.size() ) );
}

void writeTextOrNull( JsonWriter &writer, const std::string &text ) {
    if ( text.empty() ) {
        writer.Null();
    } else {
        writeText( writer, text );
    }
}

void writeFloat( JsonWriter &writer, float value ) {
    std::array<char, 64> digits;
    const char *end = std::to_chars( digits.begin(), digits.end(), value ).ptr;
    writer.RawValue( digits.data(), static_cast<size_t>( end - digits.data() ),
                     rapidjson::kNumberType );
}

static void writeThresholds( JsonWriter &writer, const Entry &entry ) {
    writer.Key( "thresholds" );
    if ( !entry.thresholds ) {
        writer.Null();
        return;
    }
    writer.StartObject();
    writer.Key( "alert" );
    writeFloat( writer, entry.thresholds->alert );
    writer.Key( "critical" );
    writeFloat( writer, entry.thresholds->critical );
    writer.EndObject();
}

void writeAge( JsonWriter &writer, const Reading &reading ) {
    if ( const auto age = reading.age( std::chrono::steady_clock::now() ) ) {
        writeFloat( writer, static_cast<float>( age->count() ) );
    } else {
        writer.Null();
    }
}

void writeEntryKeys( JsonWriter &writer, const Entry &entry ) {
    writer.Key( "name" );
    writeText( writer, entry.name );
    writer.Key( "class" );
    writer.String( nameOf( entry.deviceClass ) );
    writer.Key( "driver" );
    writeTextOrNull( writer, entry.driver );
    writer.Key( "did" );
    if ( entry.did ) {
        writer.Uint( *entry.did );
    } else {
        writer.Null();
    }
    writer.Key( "bus" );
    writeTextOrNull( writer, entry.bus );
    writer.Key( "address" );
    if ( entry.bus.empty() ) {
        writer.Null();
    } else {
        writer.Uint( entry.address );
    }
    writeThresholds( writer, entry );
}

} // namespace HostTool
