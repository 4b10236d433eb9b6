#include "HostTool/Watch/Selection.h"

#include <algorithm>
#include <vector>

namespace HostTool::Watch {

namespace {

// As they stand on the screen.
constexpr DeviceClass order[] = {
    DeviceClass::xcvr, DeviceClass::tempSensor, DeviceClass::fan,
    DeviceClass::psu,  DeviceClass::slot,       DeviceClass::led,
    DeviceClass::gpio, DeviceClass::system,     DeviceClass::smbus,
};

std::vector<size_t> onScreen( const Model &model ) {
    std::vector<size_t> items;
    for ( const DeviceClass deviceClass : order ) {
        for ( size_t i = 0; i < model.items().size(); ++i ) {
            const Item &item = model.items()[i];
            if ( item.entry().deviceClass == deviceClass && item.isWorthALine() ) {
                items.push_back( i );
            }
        }
    }
    return items;
}

struct StepRow {
    KeyCode key;
    int step;       ///< devices further
    int amongCages; ///< the same from one cage to another
    bool byClass;   ///< to the first device of another class
};

constexpr StepRow steps[] = {
    { KeyCode::up, -1, -1, false },
    { KeyCode::down, 1, 1, false },
    { KeyCode::left, -1, -2, false },
    { KeyCode::right, 1, 2, false },
    { KeyCode::nextClass, 1, 1, true },
    { KeyCode::previousClass, -1, -1, true },
    { KeyCode::first, -100'000, -100'000, false },
    { KeyCode::last, 100'000, 100'000, false },
};

} // namespace

size_t moved( const Model &model, size_t from, KeyCode key ) {
    const auto row = std::find_if( std::begin( steps ), std::end( steps ),
                                   [=]( const StepRow &each ) { return each.key == key; } );
    const std::vector<size_t> items = onScreen( model );
    if ( row == std::end( steps ) || items.empty() ) {
        return from;
    }
    const auto classAt = [&]( int at ) {
        return model.items()[items[static_cast<size_t>( at )]].entry().deviceClass;
    };
    const int last = static_cast<int>( items.size() ) - 1;
    int at = static_cast<int>( std::find( items.begin(), items.end(), from ) - items.begin() );
    const DeviceClass old = classAt( at );
    if ( !row->byClass ) {
        at += old == DeviceClass::xcvr ? row->amongCages : row->step;
        return items[static_cast<size_t>( std::clamp( at, 0, last ) )];
    }
    while ( at >= 0 && at <= last && classAt( at ) == old ) {
        at += row->step;
    }
    if ( at < 0 || at > last ) {
        return from;
    }
    while ( at > 0 && classAt( at - 1 ) == classAt( at ) ) {
        --at;
    }
    return items[static_cast<size_t>( at )];
}

size_t firstOf( const Model &model ) {
    const std::vector<size_t> items = onScreen( model );
    return items.empty() ? 0 : items.front();
}

} // namespace HostTool::Watch
