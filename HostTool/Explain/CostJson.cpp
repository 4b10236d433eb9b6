#include "HostTool/Explain/CostJson.h"

#include <cmath>

namespace HostTool::Explain {

void writeBus( JsonWriter &writer, const BusName &bus, const Wiring &wiring ) {
    writer.Key( "master" );
    writeText( writer, bus.master );
    writer.Key( "pci" );
    writer.Uint( bus.pci );
    writer.Key( "accelerator" );
    writer.Uint( bus.accelerator );
    writer.Key( "bus" );
    writer.Uint( bus.bus );
    writer.Key( "bus_label" );
    writeTextOrNull( writer, wiring.labelOf( bus ) );
}

void writeCost( JsonWriter &writer, const WireCost &cost ) {
    writer.StartObject();
    writer.Key( "transactions" );
    writer.Uint64( cost.transactions );
    writer.Key( "requests" );
    writer.Uint64( cost.requests );
    writer.Key( "bytes" );
    writer.Uint64( cost.bytes );
    writer.Key( "milliseconds_at_100_khz" );
    writeRounded( writer, cost.milliseconds( standardMode ) );
    writer.Key( "milliseconds_at_400_khz" );
    writeRounded( writer, cost.milliseconds( fastMode ) );
    writer.EndObject();
}

void writeLoad( JsonWriter &writer, const Load &load ) {
    writer.Key( "transactions_per_second" );
    writeRounded( writer, load.transactions );
    writer.Key( "requests_per_second" );
    writeRounded( writer, load.requests );
    writer.Key( "bytes_per_second" );
    writeRounded( writer, load.bytes );
    writer.Key( "milliseconds_per_second_at_100_khz" );
    writeRounded( writer, load.milliseconds( standardMode ) );
    writer.Key( "busy_percent_at_100_khz" );
    writeRounded( writer, load.busyPercent( standardMode ) );
    writer.Key( "milliseconds_per_second_at_400_khz" );
    writeRounded( writer, load.milliseconds( fastMode ) );
    writer.Key( "busy_percent_at_400_khz" );
    writeRounded( writer, load.busyPercent( fastMode ) );
}

void writeRounded( JsonWriter &writer, double value ) {
    constexpr double million = 1e6;
    writer.Double( std::round( value * million ) / million );
}

} // namespace HostTool::Explain
