#pragma once

#include "HostTool/Output/Json.h"
#include "HostTool/Snapshot/BoardState.h"

namespace HostTool::Snapshot {

/// With the fewest digits that give the same number again; it must be finite.
void writeNumber( JsonWriter &writer, double value );

/// Null for no value.
void writeValue( JsonWriter &writer, const Record::Value &value );

} // namespace HostTool::Snapshot
