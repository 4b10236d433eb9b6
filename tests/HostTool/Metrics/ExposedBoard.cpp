#include "tests/HostTool/Metrics/ExposedBoard.h"

#include <algorithm>
#include <sstream>

using namespace HostTool;

static DeviceClass classOf( const std::string &name ) {
    return std::find_if( std::begin( classNames ), std::end( classNames ),
                         [&]( const ClassName &row ) { return name == row.name; } )
        ->deviceClass;
}

Device &ExposedBoard::add( const std::string &deviceClass, const std::string &name,
                           std::vector<Reading> readings ) {
    Entry &entry = entries_.emplace_back();
    entry.deviceClass = classOf( deviceClass );
    entry.name = name;
    if ( entry.deviceClass == DeviceClass::tempSensor ) {
        entry.thresholds = Thresholds{ 45, 55.1F };
    }
    static int record;
    Device device = { &entry, &rowOf( entry.deviceClass ), &record, "" };
    device.readings = std::move( readings );
    device.state = judge( entry, device.readings );
    return devices.emplace_back( std::move( device ) );
}

void ExposedBoard::addRefused( const std::string &deviceClass, const std::string &name ) {
    Device &device = add( deviceClass, name, {} );
    device.record = nullptr;
    device.refusal = "not added: driver X not found";
    device.state = State::failed;
    device.readings = allFailed( device.row->columns.size(), PL_STATUS_FAILED, device.refusal );
}

std::string ExposedBoard::text() {
    return exposition_.text( { hasServer, std::chrono::milliseconds( 1500 ), now }, devices );
}

std::string ExposedBoard::samples( const std::string &family ) {
    std::istringstream lines( text() );
    std::string found;
    for ( std::string line; std::getline( lines, line ); ) {
        const size_t end = line.find_first_of( "{ " );
        if ( line.substr( 0, end ) == family ) {
            found += line.substr( line[end] == ' ' ? end + 1 : end ) + "\n";
        }
    }
    return found;
}
