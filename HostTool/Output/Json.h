#pragma once

#include "HostTool/Board/Documents.h"
#include "HostTool/Host/Reading.h"

#include <rapidjson/stringbuffer.h>
#include <rapidjson/writer.h>

#include <string>

namespace HostTool {

using JsonWriter = rapidjson::Writer<rapidjson::StringBuffer>;

void writeText( JsonWriter &writer, const std::string &text );
/// An empty text is null.
void writeTextOrNull( JsonWriter &writer, const std::string &text );
/// With the fewest digits that give the same float again; the value must be finite.
void writeFloat( JsonWriter &writer, float value );
/// How old the value is, in seconds; null when there is none.
void writeAge( JsonWriter &writer, const Reading &reading );
/// The members that every listing of an entry opens with: name, class, driver, did, bus, address,
/// thresholds.
void writeEntryKeys( JsonWriter &writer, const Entry &entry );

} // namespace HostTool
