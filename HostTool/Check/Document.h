#pragma once

#include <rapidjson/document.h>

#include <compare>
#include <cstddef>
#include <optional>
#include <string>
#include <unordered_map>

namespace HostTool::Check {

using rapidjson::Value;

/// A place in a document: a value, or the key in front of it, or a byte of a text that is no JSON.
struct Spot {
    const Value *value = nullptr;
    bool key = false;
    size_t offset = 0; ///< when there is no value
    auto operator<=>( const Spot & ) const = default;
};

inline Spot at( const Value &value ) {
    return { &value, false, 0 };
}
inline Spot atKeyOf( const Value &value ) {
    return { &value, true, 0 };
}

enum class Kind { topology, devices, arguments, emulation };

/// What keeps a text from being read as a document.
struct Flaw {
    enum class What { syntax, tooDeep, tooLarge } what;
    size_t offset;
    std::string message;
};

struct Place {
    size_t line;   ///< from 1
    size_t column; ///< in bytes, from 1
};

/// A JSON document that can say where in its text a value stands. Looking that up is paid for by
/// those who ask: a document without findings is parsed once, like any other.
class Document {
  public:
    /// @throw Failure (badInput) when the file cannot be read.
    static std::string readFile( const std::string &path );

    Document( std::string path, std::string text );
    Document( const Document & ) = delete;
    Document &operator=( const Document & ) = delete;

    const std::string &path() const { return path_; }
    const std::string &text() const { return text_; }
    const std::optional<Flaw> &flaw() const { return flaw_; }
    /// Null when there is a flaw.
    const Value &root() const { return document_; }

    /// By its file name, or else by its content; nothing when neither tells.
    std::optional<Kind> kind() const;

    Place placeOf( Spot spot ) const;

  private:
    struct Offsets {
        size_t key;
        size_t value;
    };
    void findOffsets() const;
    Place placeAt( size_t offset ) const;

    std::string path_;
    std::string text_;
    rapidjson::Document document_;
    std::optional<Flaw> flaw_;
    mutable std::unordered_map<const Value *, Offsets> offsets_;
};

} // namespace HostTool::Check
