#include "HostTool/Check/Values.h"

#include <rapidjson/stringbuffer.h>
#include <rapidjson/writer.h>

#include <array>
#include <cstdio>

namespace HostTool::Check {

const Value *member( const Value &object, std::string_view key ) {
    if ( object.IsObject() ) {
        for ( const auto &each : object.GetObject() ) {
            if ( wholeText( each.name ) == key ) {
                return &each.value;
            }
        }
    }
    return nullptr;
}

const Value *lastMember( const Value &object, std::string_view key ) {
    const Value *found = nullptr;
    if ( object.IsObject() ) {
        for ( const auto &each : object.GetObject() ) {
            if ( wholeText( each.name ) == key ) {
                found = &each.value;
            }
        }
    }
    return found;
}

Value::ConstArray elements( const Value *value ) {
    static const Value none( rapidjson::kArrayType );
    return ( value && value->IsArray() ? *value : none ).GetArray();
}

std::optional<uint32_t> numberIn( const Value &object, std::string_view key ) {
    const Value *value = member( object, key );
    return value && value->IsUint() ? std::optional( value->GetUint() ) : std::nullopt;
}

std::string_view textOf( const Value &text ) {
    return text.GetString();
}

std::optional<std::string_view> textIn( const Value &object, std::string_view key ) {
    const Value *value = member( object, key );
    return value && value->IsString() ? std::optional( textOf( *value ) ) : std::nullopt;
}

const char *typeOf( const Value &value ) {
    constexpr const char *names[] = { "null",     "false",  "true",    "an object",
                                      "an array", "a text", "a number" };
    return names[value.GetType()];
}

std::string shown( const Value &value ) {
    constexpr size_t longest = 40;
    rapidjson::StringBuffer buffer;
    rapidjson::Writer<rapidjson::StringBuffer> writer( buffer );
    value.Accept( writer );
    const std::string text = buffer.GetString();
    return text.size() <= longest ? text : std::string( typeOf( value ) );
}

std::string hexText( uint32_t value ) {
    std::array<char, 16> text;
    snprintf( text.data(), text.size(), "0x%02x", value );
    return text.data();
}

std::string quoted( std::string_view text ) {
    return "'" + std::string( text ) + "'";
}

} // namespace HostTool::Check
