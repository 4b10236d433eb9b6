#include "HostTool/Board/FanLimit.h"

#include "HostTool/Board/EntryArguments.h"

#include <algorithm>
#include <charconv>
#include <string_view>

namespace HostTool {

static constexpr const char *fanNumber = "fanId";

const Entry *trayOf( const Entry &fan, const Board &board ) {
    const std::optional<int> number = driverNumber( fan, fanNumber );
    const auto isTray = [&]( const Entry &each ) {
        return each.deviceClass == DeviceClass::slot && each.did == fan.did && number &&
               driverNumber( each, fanNumber ) == number;
    };
    const auto tray = std::find_if( board.entries.begin(), board.entries.end(), isTray );
    return tray == board.entries.end() ? nullptr : &*tray;
}

static std::optional<int> positive( std::optional<int> speed ) {
    return speed && *speed > 0 ? speed : std::nullopt;
}

static std::optional<int> speedIn( std::string_view description ) {
    constexpr std::string_view key = "fan.maxRpm = ";
    const size_t at = description.find( key );
    if ( at == std::string_view::npos ) {
        return std::nullopt;
    }
    const std::string_view rest = description.substr( at + key.size() );
    int speed = 0;
    const auto result = std::from_chars( rest.data(), rest.data() + rest.size(), speed );
    return result.ec == std::errc() ? std::optional( speed ) : std::nullopt;
}

std::optional<int> fullSpeed( const Entry &fan, const Reading *description ) {
    if ( const std::optional<int> given = positive( driverNumber( fan, "maxFanRpm" ) ) ) {
        return given;
    }
    const auto *text = description ? std::get_if<std::string>( &description->value ) : nullptr;
    return text ? positive( speedIn( *text ) ) : std::nullopt;
}

} // namespace HostTool
