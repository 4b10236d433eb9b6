#pragma once

#include "HostTool/Board/JsonOffsets.h"

#include <rapidjson/document.h>

#include <compare>
#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

namespace HostTool {

/// A place in a document: a value, or the key in front of it, or where a key should stand in it, or
/// a byte of a text that is no JSON.
struct Spot {
    const rapidjson::Value *value = nullptr;
    bool key = false;
    size_t offset = 0;                ///< when there is no value
    std::string_view missingKey = {}; ///< lives as long as whoever keeps the spot
    auto operator<=>( const Spot & ) const = default;
};

inline Spot at( const rapidjson::Value &value ) {
    return { &value, false, 0, {} };
}
inline Spot atKeyOf( const rapidjson::Value &value ) {
    return { &value, true, 0, {} };
}
inline Spot lacking( const rapidjson::Value &object, std::string_view key ) {
    return { &object, false, 0, key };
}

struct Place {
    size_t line;   ///< from 1
    size_t column; ///< in bytes, from 1
};

/// What keeps a text from being read as JSON.
struct Flaw {
    enum class What { syntax, tooDeep, tooLarge } what;
    size_t offset;
    std::string message;
};

/// A JSON document that can say where in its text a value stands. Looking that up is paid for by
/// those who ask: others parse it once, as any document.
class JsonFile {
  public:
    /// Reads and parses a file.
    /// @throw Failure (badInput) "file:line:column: message" for a flaw, "cannot read file: reason"
    ///        for a file that cannot be read.
    explicit JsonFile( const std::string &path );
    /// A document that may have a flaw.
    JsonFile( std::string path, std::string text );

    JsonFile( const JsonFile & ) = delete;
    JsonFile &operator=( const JsonFile & ) = delete;

    /// The text of a file; of one that is too large as much of it as shows that.
    /// @throw Failure (badInput) "cannot read file: reason".
    static std::string textOfFile( const std::string &path );

    const std::string &path() const { return path_; }
    const std::string &text() const { return text_; }
    const std::optional<Flaw> &flaw() const { return flaw_; }
    /// Null when there is a flaw.
    const rapidjson::Value &root() const { return document_; }

    Place placeOf( Spot spot ) const;
    /// The line that a value starts on, from 1.
    size_t lineOf( const rapidjson::Value &value ) const { return placeOf( at( value ) ).line; }
    /// A number as it is written: -0, 1e3, 2.50.
    std::string_view digitsOf( const rapidjson::Value &number ) const;

  private:
    std::optional<Flaw> parse();
    void findOffsets() const;
    Place placeAt( size_t offset ) const;
    const JsonOffsets &offsetsOf( const rapidjson::Value &value ) const;

    std::string path_;
    std::string text_;
    rapidjson::Document document_;
    std::optional<Flaw> flaw_;

    // Filled when somebody asks.
    mutable std::unordered_map<const rapidjson::Value *, JsonOffsets> offsets_;
    mutable std::vector<size_t> lineStarts_;
};

} // namespace HostTool
