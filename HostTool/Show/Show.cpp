#include "HostTool/Show/Show.h"

#include "HostTool/Output/Json.h"
#include "HostTool/Output/Table.h"
#include "HostTool/Output/ValueText.h"

#include <algorithm>
#include <cctype>
#include <sstream>

namespace HostTool {

namespace {

constexpr int thresholdDecimals = 1;
constexpr int ageDecimals = 1;
constexpr size_t columnsBesideReadings = 6; // name, two thresholds, age, state and reason

/// Why values are missing, each reason once with the values that it is the reason of.
std::string reasonsOf( const Device &device ) {
    if ( !device.record ) {
        return device.refusal;
    }
    std::vector<std::pair<std::string, std::string>> groups;
    for ( size_t i = 0; i < device.readings.size(); ++i ) {
        const Reading &reading = device.readings[i];
        if ( reading.status == PL_STATUS_OK || reading.status == PL_STATUS_NOT_SUPPORTED ) {
            continue;
        }
        const std::string key = device.row->columns[i].key;
        const std::string reason = whyNoValue( reading );
        const auto group = std::find_if( groups.begin(), groups.end(),
                                         [&]( const auto &each ) { return each.first == reason; } );
        if ( group == groups.end() ) {
            groups.emplace_back( reason, key );
        } else {
            group->second += ", " + key;
        }
    }
    if ( groups.size() == 1 ) {
        return groups.front().first;
    }
    std::string text;
    for ( const auto &[reason, keys] : groups ) {
        text.append( text.empty() ? "" : "; " ).append( keys ).append( ": " ).append( reason );
    }
    return text;
}

Colour colourOf( State state ) {
    if ( !isTrouble( state ) ) {
        return Colour::none;
    }
    return state == State::alert ? Colour::yellow : Colour::red;
}

std::string heading( std::string key ) {
    std::transform( key.begin(), key.end(), key.begin(), []( char c ) {
        return c == '_' ? ' ' : static_cast<char>( toupper( static_cast<unsigned char>( c ) ) );
    } );
    return key;
}

bool isPolled( const ClassRow &row ) {
    return std::any_of( row.columns.begin(), row.columns.end(),
                        []( const Column &each ) { return each.isPolled; } );
}

/// How old the oldest of its values is.
std::string ageOf( const Device &device ) {
    std::optional<std::chrono::duration<double>> oldest;
    const Moment now = std::chrono::steady_clock::now();
    for ( const Reading &reading : device.readings ) {
        oldest = std::max( oldest, reading.age( now ) );
    }
    return oldest ? numberText( oldest->count(), ageDecimals, "s" ) : "--";
}

Table tableFor( const ClassRow &row, bool withDescriptions ) {
    std::vector<std::string> headings = { "NAME" };
    for ( const Column &column : row.columns ) {
        if ( withDescriptions || !column.isDescription ) {
            headings.push_back( heading( column.key ) );
        }
    }
    if ( row.deviceClass == DeviceClass::tempSensor ) {
        headings.insert( headings.end(), { "ALERT", "CRITICAL" } );
    }
    if ( isPolled( row ) ) {
        headings.emplace_back( "AGE" );
    }
    headings.insert( headings.end(), { "STATE", "REASON" } );
    return Table( headings );
}

TableRow rowFor( const Device &device, bool withDescriptions ) {
    const Colour colour = colourOf( device.state );
    TableRow row;
    row.cells.reserve( device.readings.size() + columnsBesideReadings );
    row.cells.push_back( { device.entry->name } );
    for ( size_t i = 0; i < device.readings.size(); ++i ) {
        const Column &column = device.row->columns[i];
        if ( column.isDescription && !withDescriptions ) {
            continue;
        }
        std::string text = valueText( device.readings[i], column );
        if ( text.find( '\n' ) != std::string::npos ) {
            std::istringstream lines( text );
            for ( std::string each; std::getline( lines, each ); ) {
                row.below.push_back( each );
            }
            text = "below";
        }
        row.cells.push_back(
            { std::move( text ), *column.unit ? Align::right : Align::left, colour } );
    }
    if ( const auto &thresholds = device.entry->thresholds ) {
        for ( const float limit : { thresholds->alert, thresholds->critical } ) {
            row.cells.push_back(
                { numberText( static_cast<double>( limit ), thresholdDecimals, "C" ),
                  Align::right } );
        }
    }
    if ( isPolled( *device.row ) ) {
        row.cells.push_back( { ageOf( device ), Align::right } );
    }
    row.cells.push_back( { nameOf( device.state ), Align::left, colour } );
    row.cells.push_back( { reasonsOf( device ) } );
    return row;
}

struct ValueJson {
    JsonWriter &writer;
    void operator()( std::monostate ) const { writer.Null(); }
    void operator()( bool value ) const { writer.Bool( value ); }
    void operator()( int value ) const { writer.Int( value ); }
    void operator()( float value ) const { writeFloat( writer, value ); }
    void operator()( const std::string &value ) const { writeText( writer, value ); }
};

void writeReading( JsonWriter &writer, const Column &column, const Reading &reading ) {
    writer.Key( column.key );
    writer.StartObject();
    writer.Key( "value" );
    std::visit( ValueJson{ writer }, reading.value );
    writer.Key( "unit" );
    writeTextOrNull( writer, column.unit );
    writer.Key( "status" );
    writeText( writer, nameOf( reading.status ) );
    writer.Key( "reason" );
    writeTextOrNull( writer, reading.reason );
    writer.Key( "freshness" );
    writer.String( nameOf( reading.freshness() ) );
    writer.Key( "age_s" );
    writeAge( writer, reading );
    writer.EndObject();
}

void writeDevice( JsonWriter &writer, const Device &device ) {
    writer.StartObject();
    writeEntryKeys( writer, *device.entry );
    writer.Key( "state" );
    writer.String( nameOf( device.state ) );
    writer.Key( "reason" );
    writeTextOrNull( writer, device.refusal );
    writer.Key( "readings" );
    writer.StartObject();
    for ( size_t i = 0; i < device.readings.size(); ++i ) {
        writeReading( writer, device.row->columns[i], device.readings[i] );
    }
    writer.EndObject();
    writer.EndObject();
}

} // namespace

std::string showAsText( const std::vector<Device> &devices, bool coloured, bool withDescriptions ) {
    std::string text;
    for ( const ClassName &each : classNames ) {
        Table table = tableFor( rowOf( each.deviceClass ), withDescriptions );
        bool isEmpty = true;
        for ( const Device &device : devices ) {
            if ( device.entry->deviceClass == each.deviceClass ) {
                table.add( rowFor( device, withDescriptions ) );
                isEmpty = false;
            }
        }
        if ( !isEmpty ) {
            text += ( text.empty() ? "" : "\n" ) + std::string( each.name ) + "\n" +
                    table.text( 2, coloured );
        }
    }
    return text;
}

std::string showAsJson( const std::vector<Device> &devices ) {
    rapidjson::StringBuffer buffer;
    JsonWriter writer( buffer );
    writer.StartObject();
    writer.Key( "devices" );
    writer.StartArray();
    for ( const Device &device : devices ) {
        writeDevice( writer, device );
    }
    writer.EndArray();
    writer.EndObject();
    return buffer.GetString() + std::string( "\n" );
}

} // namespace HostTool
