#include "HostTool/Watch/Model.h"

#include "HostTool/Board/EntryArguments.h"
#include "HostTool/Board/FanLimit.h"
#include "HostTool/Output/ValueText.h"

#include <algorithm>
#include <cctype>

namespace HostTool::Watch {

namespace {

std::optional<size_t> lampOf( const Item &cage, const std::vector<Item> &items ) {
    const std::string &port = cage.entry().name;
    for ( size_t i = 0; i < items.size(); ++i ) {
        const Entry &lamp = items[i].entry();
        if ( lamp.deviceClass == DeviceClass::led &&
             ( driverArgument( lamp, "ledName" ) == port || belongsTo( lamp.name, port ) ) ) {
            return i;
        }
    }
    return std::nullopt;
}

std::optional<size_t> trayItem( const Item &fan, const std::vector<Item> &items,
                                const Board &board ) {
    const Entry *tray = trayOf( fan.entry(), board );
    const auto at = std::find_if( items.begin(), items.end(), [&]( const Item &each ) {
        return tray && each.device.entry == tray;
    } );
    return at == items.end() ? std::nullopt : std::optional( size_t( at - items.begin() ) );
}

/// Keeps the last good value beside a reading that failed.
void take( Sample &sample, const Reading &reading, Moment now ) {
    sample.reading = reading;
    if ( reading.hasValue() ) {
        sample.lastGood = reading;
        sample.lastGoodAt = reading.polledAt.value_or( now );
    }
}

bool isSame( const Reading &left, const Reading &right ) {
    return left.value == right.value && left.status == right.status;
}

} // namespace

const Reading::Value *Item::value( const char *key ) const {
    for ( size_t i = 0; i < samples.size(); ++i ) {
        if ( std::string_view( device.row->columns[i].key ) == key ) {
            return samples[i].reading.hasValue() ? &samples[i].reading.value : nullptr;
        }
    }
    return nullptr;
}

bool Item::isOn( const char *key ) const {
    const Reading::Value *found = value( key );
    const bool *flag = found ? std::get_if<bool>( found ) : nullptr;
    return flag && *flag;
}

Model::Model( std::vector<Device> devices, const Board &board ) {
    for ( Device &device : devices ) {
        Item &item = items_.emplace_back();
        item.device = std::move( device );
        item.device.state = item.device.record ? State::added : State::failed;
        item.state = item.device.state;
    }
    for ( Item &item : items_ ) {
        if ( item.entry().deviceClass == DeviceClass::xcvr ) {
            item.lamp = lampOf( item, items_ );
        }
        if ( item.entry().deviceClass == DeviceClass::fan ) {
            item.tray = trayItem( item, items_, board );
        }
    }
    updateFullSpeeds();
}

std::vector<Change> Model::update( size_t index, Moment now ) {
    Item &item = items_[index];
    const Device &device = item.device;
    if ( device.row->settleMilliseconds > 0 ) {
        item.askedAt = item.askedAt.value_or( now );
        if ( now < *item.askedAt + std::chrono::milliseconds( device.row->settleMilliseconds ) ) {
            return {};
        }
    }
    const bool isFirst = !item.wasRead;
    item.wasRead = true;
    item.samples.resize( device.readings.size() );
    std::vector<Change> changes;
    for ( size_t i = 0; i < device.readings.size(); ++i ) {
        const Column &column = device.row->columns[i];
        const Reading before = item.samples[i].reading;
        take( item.samples[i], device.readings[i], now );
        if ( isFirst || isSame( before, device.readings[i] ) ) {
            continue;
        }
        item.samples[i].changedAt = now;
        changes.push_back( { index, column.key, valueText( before, column ),
                             valueText( device.readings[i], column ), device.readings[i] } );
    }
    if ( !isFirst && item.state != device.state ) {
        item.stateChangedAt = now;
        changes.push_back(
            { index, "state", nameOf( item.state ), nameOf( device.state ), std::nullopt } );
    }
    item.state = device.state;
    if ( item.entry().deviceClass == DeviceClass::slot && ( isFirst || !changes.empty() ) ) {
        updateFullSpeeds();
    }
    return changes;
}

bool Model::isSettling() const {
    return std::any_of( items_.begin(), items_.end(), []( const Item &each ) {
        return each.device.record && each.device.row->settleMilliseconds > 0 && !each.wasRead;
    } );
}

void Model::updateFullSpeeds() {
    for ( Item &item : items_ ) {
        if ( item.entry().deviceClass != DeviceClass::fan ) {
            continue;
        }
        const Reading *description = nullptr;
        if ( item.tray && items_[*item.tray].wasRead ) {
            const std::vector<Column> &columns = items_[*item.tray].device.row->columns;
            const auto column =
                std::find_if( columns.begin(), columns.end(),
                              []( const Column &each ) { return each.isDescription; } );
            description = &items_[*item.tray].samples[size_t( column - columns.begin() )].lastGood;
        }
        item.fullSpeed = fullSpeed( item.entry(), description );
    }
}

void Model::lightIs( size_t item, int setting ) {
    items_[item].light = setting;
    items_[item].lightSince = blinks_;
}

bool Model::isLit( const Item &lamp ) const {
    constexpr unsigned halves = 2;
    return blinks_ != lamp.lightSince && blinks_ % halves == 0;
}

void Model::serverIsLost( Moment since, const std::string &reason ) {
    serverLostAt_ = serverLostAt_.value_or( since );
    serverReason_ = reason;
}

size_t Model::troubles() const {
    return static_cast<size_t>(
        std::count_if( items_.begin(), items_.end(),
                       []( const Item &each ) { return isTrouble( each.state ); } ) );
}

bool belongsTo( const std::string &lamp, const std::string &port ) {
    return lamp.starts_with( port ) &&
           ( lamp.size() == port.size() ||
             std::isdigit( static_cast<unsigned char>( lamp[port.size()] ) ) == 0 );
}

} // namespace HostTool::Watch
