#include "HostTool/Snapshot/Collect.h"

#include "HostTool/Board/FanLimit.h"

#include <array>
#include <charconv>
#include <cmath>
#include <string_view>

namespace HostTool::Snapshot {

namespace {

/// Readings that are not measured, and what they are called here. All others are values, by the
/// key of their column.
struct PlaceRow {
    DeviceClass deviceClass;
    const char *column;
    Records DeviceState::*section;
    const char *key;
};
constexpr PlaceRow placeRows[] = {
    { DeviceClass::slot, "identity", &DeviceState::identity, "description" },
    { DeviceClass::slot, "model", &DeviceState::identity, "model" },
    { DeviceClass::slot, "serial", &DeviceState::identity, "serial" },
    { DeviceClass::xcvr, "type", &DeviceState::identity, "type" },
    { DeviceClass::xcvr, "tx_disable", &DeviceState::settings, "tx_disable" },
    { DeviceClass::xcvr, "mod_sel", &DeviceState::settings, "mod_sel" },
    { DeviceClass::xcvr, "lp_mode", &DeviceState::settings, "lp_mode" },
    { DeviceClass::xcvr, "reset", &DeviceState::settings, "reset" },
};

PlaceRow placeOf( DeviceClass deviceClass, const Column &column ) {
    for ( const PlaceRow &row : placeRows ) {
        if ( row.deviceClass == deviceClass && std::string_view( row.column ) == column.key ) {
            return row;
        }
    }
    return { deviceClass, column.key, &DeviceState::values, column.key };
}

/// The number that the fewest digits of a float say, which is what stands in a file.
double asWritten( float value ) {
    std::array<char, 64> digits;
    const char *end = std::to_chars( digits.begin(), digits.end(), value ).ptr;
    double number = 0;
    std::from_chars( digits.data(), end, number );
    return number;
}

struct ValueOf {
    Record::Value operator()( std::monostate ) const { return {}; }
    Record::Value operator()( bool value ) const { return value; }
    Record::Value operator()( int value ) const { return static_cast<double>( value ); }
    Record::Value operator()( float value ) const { return asWritten( value ); }
    Record::Value operator()( const std::string &value ) const { return value; }
};

Record recordOf( const Reading &reading, const char *unit, Moment now ) {
    constexpr double millisecondsPerSecond = 1000;
    Record record = { std::visit( ValueOf(), reading.value ), unit, nameOf( reading.status ),
                      reading.reason, reading.freshness() };
    if ( const auto age = reading.age( now ) ) {
        record.age = std::round( age->count() * millisecondsPerSecond ) / millisecondsPerSecond;
    }
    return record;
}

const Reading *descriptionIn( const Device &slot ) {
    for ( size_t i = 0; i < slot.readings.size(); ++i ) {
        if ( slot.row->columns[i].isDescription ) {
            return &slot.readings[i];
        }
    }
    return nullptr;
}

Reading fullSpeedOf( const Entry &fan, const Board &board, const std::vector<Device> &devices ) {
    const Entry *tray = trayOf( fan, board );
    const auto device = std::find_if( devices.begin(), devices.end(),
                                      [=]( const Device &each ) { return each.entry == tray; } );
    const Reading *description = device == devices.end() ? nullptr : descriptionIn( *device );
    if ( const std::optional<int> speed = fullSpeed( fan, description ) ) {
        return Reading::of( *speed );
    }
    if ( tray && !description ) {
        return Reading::unread( "its tray was not read" );
    }
    if ( description && !description->hasValue() ) {
        return { {}, description->status, description->reason };
    }
    return { {},
             PL_STATUS_NOT_SUPPORTED,
             "neither its arguments nor the description of its tray say it" };
}

DeviceState stateOf( const Device &device, Moment now ) {
    const Entry &entry = *device.entry;
    DeviceState state;
    state.name = entry.name;
    state.deviceClass = entry.deviceClass;
    state.driver = entry.driver;
    state.did = entry.did;
    if ( entry.thresholds ) {
        state.thresholds = { asWritten( entry.thresholds->alert ),
                             asWritten( entry.thresholds->critical ) };
    }
    state.state = device.state;
    state.reason = device.refusal;
    for ( size_t i = 0; i < device.readings.size(); ++i ) {
        const Column &column = device.row->columns[i];
        const PlaceRow place = placeOf( entry.deviceClass, column );
        ( state.*place.section )
            .emplace_back( place.key, recordOf( device.readings[i], column.unit, now ) );
    }
    return state;
}

} // namespace

std::vector<DeviceState> collect( const Board &board, const std::vector<Device> &devices,
                                  Moment now ) {
    std::vector<DeviceState> states;
    for ( const Device &device : devices ) {
        DeviceState state = stateOf( device, now );
        if ( state.deviceClass == DeviceClass::fan ) {
            const Reading speed = fullSpeedOf( *device.entry, board, devices );
            state.settings.emplace_back( "full_speed", recordOf( speed, "rpm", now ) );
        }
        if ( state.deviceClass == DeviceClass::led ) {
            const Reading light = Reading::unread( "a lamp cannot be asked" );
            state.settings.emplace_back( "light", recordOf( light, "", now ) );
        }
        states.push_back( std::move( state ) );
    }
    return states;
}

} // namespace HostTool::Snapshot
