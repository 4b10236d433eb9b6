#pragma once

#include <rapidjson/document.h>

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace HostTool::Check {

using rapidjson::Value;

/// The member that counts where the library or the host reads a key: the first of that name.
/// @return null when there is none, or when the value is no object.
const Value *member( const Value &object, std::string_view key );
/// The last of that name, which counts in settings and in emulation documents.
const Value *lastMember( const Value &object, std::string_view key );

/// An array's elements; none for anything else.
Value::ConstArray elements( const Value *value );

std::optional<uint32_t> numberIn( const Value &object, std::string_view key );
/// As much of a text as the library sees of it: up to a zero character.
std::optional<std::string_view> textIn( const Value &object, std::string_view key );
std::string_view textOf( const Value &text );
inline std::string_view wholeText( const Value &text ) {
    return { text.GetString(), text.GetStringLength() };
}

/// "a text", "a number", ...
const char *typeOf( const Value &value );
/// The value as a short piece of JSON, for messages.
std::string shown( const Value &value );
/// "0x48"
std::string hexText( uint32_t value );
std::string quoted( std::string_view text );

} // namespace HostTool::Check
