#pragma once

#include "EmulatedBoard/Board.h"
#include "EmulatedBoard/JsonTree.h"

#include <cstdint>
#include <initializer_list>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

namespace EmulatedBoard {

/// A document that cannot be read or does not say what it must. The text is
/// "file:line:column: message".
struct DocumentError : std::runtime_error {
    using std::runtime_error::runtime_error;
};

/// @throw DocumentError when the file cannot be read.
std::string readDocument( const std::string &file );

/// "'text'", as messages show what stands in a document.
std::string quoted( std::string_view text );
/// "0x48"
std::string hexText( uint32_t value );

/// Takes the values of a JSON document and points at what is wrong. All functions throw
/// DocumentError for the value that they were asked for.
class DocumentReader {
  public:
    /// Both texts must outlive the object.
    /// @param file names the text in messages.
    DocumentReader( const std::string &text, const std::string &file )
        : text_( text ), file_( file ) {}

    using Kind = JsonValue::Kind;

    JsonValue parse() const;
    [[noreturn]] void fail( size_t offset, const std::string &message ) const;
    void need( const JsonValue &value, Kind kind, const std::string &what,
               const char *expected ) const;
    void allowKeys( const JsonValue &object, std::initializer_list<std::string_view> keys ) const;
    const JsonValue &needKey( const JsonValue &object, std::string_view key ) const;
    const std::string &string( const JsonValue &object, std::string_view key ) const;
    /// An array of objects.
    const std::vector<JsonValue> &array( const JsonValue &object, std::string_view key ) const;
    /// A number, or a string with a hexadecimal one: "0x48".
    uint32_t number( const JsonValue &object, std::string_view key, uint32_t lowest,
                     uint32_t highest ) const;
    /// The same from a value that has no key of its own.
    uint32_t toNumber( const JsonValue &value, const std::string &what, uint32_t lowest,
                       uint32_t highest ) const;
    uint32_t numberOr( uint32_t absent, const JsonValue &object, std::string_view key,
                       uint32_t highest ) const;
    /// The keys "master", "pci", "accelerator" and "bus".
    BusName busName( const JsonValue &object ) const;

  private:
    uint32_t master( const JsonValue &object ) const;

    const std::string &text_;
    const std::string &file_;
};

} // namespace EmulatedBoard
