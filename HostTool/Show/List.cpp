#include "HostTool/Show/List.h"

#include "HostTool/Output/Json.h"
#include "HostTool/Output/Table.h"

#include <array>
#include <cstdio>

namespace HostTool {

static std::string orDashes( const std::string &text ) {
    return text.empty() ? "--" : text;
}

static std::string degrees( float celsius ) {
    std::array<char, 32> text;
    snprintf( text.data(), text.size(), "%.1f C", static_cast<double>( celsius ) );
    return text.data();
}

static std::string onBus( const Entry &entry ) {
    if ( entry.bus.empty() ) {
        return "";
    }
    std::array<char, 8> address;
    snprintf( address.data(), address.size(), "0x%02x", entry.address );
    return entry.bus + " " + address.data();
}

std::string listAsText( const std::vector<const Entry *> &entries ) {
    Table table( { "CLASS", "NAME", "DRIVER", "DID", "ALERT", "CRITICAL", "BUS" } );
    for ( const Entry *entry : entries ) {
        const auto &thresholds = entry->thresholds;
        table.add( { { { nameOf( entry->deviceClass ) },
                       { entry->name },
                       { orDashes( entry->driver ) },
                       { entry->did ? std::to_string( *entry->did ) : "--", Align::right },
                       { thresholds ? degrees( thresholds->alert ) : "--", Align::right },
                       { thresholds ? degrees( thresholds->critical ) : "--", Align::right },
                       { onBus( *entry ) } },
                     {} } );
    }
    return table.text( 0, false );
}

std::string listAsJson( const Board &board, const std::vector<const Entry *> &entries ) {
    rapidjson::StringBuffer buffer;
    JsonWriter writer( buffer );
    writer.StartObject();
    writer.Key( "board" );
    writeText( writer, board.folder );
    writer.Key( "devices" );
    writer.StartArray();
    for ( const Entry *entry : entries ) {
        writer.StartObject();
        writeEntryKeys( writer, *entry );
        writer.EndObject();
    }
    writer.EndArray();
    writer.EndObject();
    return buffer.GetString() + std::string( "\n" );
}

} // namespace HostTool
