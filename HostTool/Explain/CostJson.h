#pragma once

#include "HostTool/Explain/BusTime.h"
#include "HostTool/Explain/Rates.h"
#include "HostTool/Explain/Wiring.h"
#include "HostTool/Output/Json.h"

namespace HostTool::Explain {

/// The members that name a bus: master, pci, accelerator, bus, bus_label.
void writeBus( JsonWriter &writer, const BusName &bus, const Wiring &wiring );
/// An object.
void writeCost( JsonWriter &writer, const WireCost &cost );
/// The members that say what goes over a bus in a second.
void writeLoad( JsonWriter &writer, const Load &load );
/// With at most six decimals.
void writeRounded( JsonWriter &writer, double value );

} // namespace HostTool::Explain
