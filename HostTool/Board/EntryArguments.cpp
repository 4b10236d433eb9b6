#include "HostTool/Board/EntryArguments.h"

#include <rapidjson/document.h>

#include <charconv>

namespace HostTool {

std::optional<std::string> driverArgument( const Entry &entry, const std::string &key ) {
    rapidjson::Document document;
    document.Parse( entry.arguments.c_str() );
    if ( document.HasParseError() || !document.IsObject() ) {
        return std::nullopt;
    }
    if ( !document.HasMember( "driverArgs" ) || !document["driverArgs"].IsObject() ) {
        return std::nullopt;
    }
    const rapidjson::Value &settings = document["driverArgs"];
    if ( !settings.HasMember( key.c_str() ) ) {
        return std::nullopt;
    }
    const rapidjson::Value &value = settings[key.c_str()];
    if ( value.IsInt() ) {
        return std::to_string( value.GetInt() );
    }
    return value.IsString() ? std::optional<std::string>( value.GetString() ) : std::nullopt;
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
