#include "HostTool/Board/EntryArguments.h"

#include <charconv>

namespace HostTool {

std::optional<std::string> driverArgument( const Entry &entry, const std::string &key ) {
    const auto setting = entry.settings.find( key );
    return setting == entry.settings.end() ? std::nullopt : std::optional( setting->second );
}

std::optional<int> driverNumber( const Entry &entry, const std::string &key ) {
    const std::optional<std::string> text = driverArgument( entry, key );
    if ( !text ) {
        return std::nullopt;
    }
    int number = 0;
    const char *end = text->data() + text->size();
    const auto [stop, error] = std::from_chars( text->data(), end, number );
    return error == std::errc() && stop == end ? std::optional( number ) : std::nullopt;
}

} // namespace HostTool
