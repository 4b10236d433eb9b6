#pragma once

#include <cstddef>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

namespace EmulatedBoard {

/// A JSON value that knows where in the text it stands, so that a message can point at it.
struct JsonValue {
    enum class Kind { Null, Bool, Number, String, Array, Object };

    struct Member;

    Kind kind = Kind::Null;
    size_t offset = 0; ///< of its first character
    std::string text;  ///< a string's contents; a number or bool as it stands in the document
    std::vector<JsonValue> items;
    std::vector<Member> members; ///< in document order

    /// @return null when there is no such key; the last one when there are several.
    const JsonValue *find( std::string_view key ) const;
};

struct JsonValue::Member {
    std::string key;
    size_t offset; ///< of the key
    JsonValue value;
};

struct JsonError : std::runtime_error {
    JsonError( size_t where, const std::string &message )
        : std::runtime_error( message ), offset( where ) {}
    size_t offset;
};

/// @throw JsonError for a text that is not JSON.
JsonValue parseJson( std::string_view text );

/// "3:14" for the offset of the 14th character of the third line; columns count bytes.
std::string lineAndColumn( std::string_view text, size_t offset );

} // namespace EmulatedBoard
