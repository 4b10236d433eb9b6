#include "HostTool/Explain/CostJson.h"
#include "HostTool/Explain/Report.h"
#include "HostTool/Output/Table.h"
#include "HostTool/Output/ValueText.h"

#include <algorithm>
#include <set>

namespace HostTool::Explain {

namespace {

constexpr double full = 100; // percent

bool isOverloaded( const Load &load, unsigned kilohertz ) {
    return load.busyPercent( kilohertz ) > full;
}

void addLoad( TableRow &row, const Load &load ) {
    const auto number = [&]( double value, int decimals, const char *unit = "" ) {
        row.cells.push_back( { numberText( value, decimals, unit ), Align::right } );
    };
    number( load.transactions, 2 );
    number( load.requests, 2 );
    for ( const unsigned kilohertz : { standardMode, fastMode } ) {
        number( load.milliseconds( kilohertz ), 2, "ms" );
        number( load.busyPercent( kilohertz ), 2, "%" );
        if ( isOverloaded( load, kilohertz ) ) {
            row.cells.back().text += " !";
            row.cells.back().colour = Colour::red;
        }
    }
}

Table tableWith( std::vector<std::string> headings ) {
    headings.insert( headings.end(), { "TRANSACTIONS/S", "REQUESTS/S", "PER S AT 100 KHZ", "BUSY",
                                       "PER S AT 400 KHZ", "BUSY" } );
    return Table( headings );
}

std::string busTable( const std::vector<BusLoad> &busses, const Wiring &wiring, bool coloured ) {
    Table table = tableWith( { "BUS" } );
    for ( const BusLoad &bus : busses ) {
        TableRow row = { { { wiring.describe( bus.bus ) } }, {} };
        addLoad( row, bus.load );
        table.add( std::move( row ) );
    }
    return table.text( 0, coloured );
}

std::string deviceTable( const BusLoad &bus, bool coloured ) {
    Table table = tableWith( { "DEVICE", "CLASS", "WHAT", "EVERY" } );
    for ( const DeviceLoad &each : bus.devices ) {
        TableRow row = { { { each.entry->name },
                           { HostTool::nameOf( each.entry->deviceClass ) },
                           { each.isPoll ? "poll" : "readings" },
                           { numberText( each.seconds, each.seconds < 1 ? 3 : 0, "s" ),
                             Align::right } },
                         {} };
        addLoad( row, each.load );
        table.add( std::move( row ) );
    }
    return table.text( 2, coloured );
}

/// How many devices of each class no bus hears of: "34 xcvr, 1 system".
std::string silentText( const std::vector<DeviceSteps> &devices,
                        const std::vector<BusLoad> &busses ) {
    std::set<const Entry *> heard;
    for ( const BusLoad &bus : busses ) {
        for ( const DeviceLoad &each : bus.devices ) {
            if ( !each.isPoll ) {
                heard.insert( each.entry );
            }
        }
    }
    std::string text;
    for ( const ClassName &each : classNames ) {
        const auto count =
            std::count_if( devices.begin(), devices.end(), [&]( const DeviceSteps &device ) {
                return device.refusal.empty() && device.entry->deviceClass == each.deviceClass &&
                       !heard.contains( device.entry );
            } );
        if ( count > 0 ) {
            text += ( text.empty() ? "" : ", " ) + std::to_string( count ) + " " + each.name;
        }
    }
    return text;
}

} // namespace

std::string ratesAsText( const std::vector<DeviceSteps> &devices, const Rates &rates,
                         const Wiring &wiring, bool coloured ) {
    const std::vector<BusLoad> busses = loadsOf( devices, rates );
    std::string text = "What reads is called " + rates.text() +
                       "; the library polls by itself. Time of the wires alone.\n\n";
    text += busses.empty() ? "Nothing goes over any bus.\n" : busTable( busses, wiring, coloured );
    const bool hasOverload = std::any_of( busses.begin(), busses.end(), []( const BusLoad &each ) {
        return isOverloaded( each.load, standardMode ) || isOverloaded( each.load, fastMode );
    } );
    if ( hasOverload ) {
        text += "! is more than the bus can carry.\n";
    }
    for ( const BusLoad &bus : busses ) {
        text += "\n" + wiring.describe( bus.bus ) + "\n" + deviceTable( bus, coloured );
    }
    if ( const std::string silent = silentText( devices, busses ); !silent.empty() ) {
        text += "\nNothing goes over a bus for reading " + silent + ".\n";
    }
    return text;
}

std::string ratesAsJson( const std::vector<DeviceSteps> &devices, const Rates &rates,
                         const Wiring &wiring ) {
    rapidjson::StringBuffer buffer;
    JsonWriter writer( buffer );
    writer.StartObject();
    writer.Key( "seconds" );
    writer.StartObject();
    for ( const ClassName &each : classNames ) {
        writer.Key( each.name );
        writeRounded( writer, rates.secondsOf( each.deviceClass ) );
    }
    writer.EndObject();
    writer.Key( "busses" );
    writer.StartArray();
    for ( const BusLoad &bus : loadsOf( devices, rates ) ) {
        writer.StartObject();
        writeBus( writer, bus.bus, wiring );
        writeLoad( writer, bus.load );
        writer.Key( "devices" );
        writer.StartArray();
        for ( const DeviceLoad &each : bus.devices ) {
            writer.StartObject();
            writer.Key( "name" );
            writeText( writer, each.entry->name );
            writer.Key( "class" );
            writer.String( HostTool::nameOf( each.entry->deviceClass ) );
            writer.Key( "what" );
            writer.String( each.isPoll ? "poll" : "readings" );
            writer.Key( "every_seconds" );
            writeRounded( writer, each.seconds );
            writeLoad( writer, each.load );
            writer.EndObject();
        }
        writer.EndArray();
        writer.EndObject();
    }
    writer.EndArray();
    writer.Key( "refused" );
    writer.StartArray();
    for ( const DeviceSteps &each : devices ) {
        if ( !each.refusal.empty() ) {
            writer.StartObject();
            writer.Key( "name" );
            writeText( writer, each.entry->name );
            writer.Key( "reason" );
            writeText( writer, each.refusal );
            writer.EndObject();
        }
    }
    writer.EndArray();
    writer.EndObject();
    return buffer.GetString() + std::string( "\n" );
}

} // namespace HostTool::Explain
