#include "EmulatedBoard/JsonTree.h"

#include <algorithm>
#include <rapidjson/error/en.h>
#include <rapidjson/memorystream.h>
#include <rapidjson/reader.h>
#include <utility>

namespace EmulatedBoard {

namespace {

// The reader copies the library's own streams while it is inside a token; a stream of another type
// is used in place, so its position is the token's end when the handler is called.
class Text : public rapidjson::MemoryStream {
  public:
    explicit Text( std::string_view text ) : MemoryStream( text.data(), text.size() ) {}
};

class TreeBuilder : public rapidjson::BaseReaderHandler<rapidjson::UTF8<>, TreeBuilder> {
  public:
    TreeBuilder( std::string_view text, const Text &stream ) : text_( text ), stream_( stream ) {}

    bool Null() { return value( JsonValue::Kind::Null, "null" ); }
    bool Bool( bool set ) { return value( JsonValue::Kind::Bool, set ? "true" : "false" ); }
    bool RawNumber( const char *digits, rapidjson::SizeType length, bool ) {
        return value( JsonValue::Kind::Number, { digits, length } );
    }
    bool String( const char *characters, rapidjson::SizeType length, bool ) {
        return value( JsonValue::Kind::String, { characters, length } );
    }
    bool Key( const char *characters, rapidjson::SizeType length, bool ) {
        open_.back().members.push_back( { { characters, length }, tokenStart(), {} } );
        return true;
    }
    bool StartObject() { return open( JsonValue::Kind::Object ); }
    bool StartArray() { return open( JsonValue::Kind::Array ); }
    bool EndObject( rapidjson::SizeType ) { return close(); }
    bool EndArray( rapidjson::SizeType ) { return close(); }

    JsonValue root;

  private:
    static constexpr size_t deepest = 100;

    // Between two tokens stand only blanks, commas and colons.
    size_t tokenStart() {
        const size_t start = text_.find_first_not_of( " \t\r\n,:", lastEnd_ );
        lastEnd_ = stream_.Tell();
        return start;
    }

    bool value( JsonValue::Kind kind, std::string_view contents ) {
        place( { kind, tokenStart(), std::string( contents ), {}, {} } );
        return true;
    }

    // The handler is called before the reader steps over a bracket.
    size_t bracket() {
        const size_t start = tokenStart();
        lastEnd_ = start + 1;
        return start;
    }

    bool open( JsonValue::Kind kind ) {
        const size_t start = bracket();
        if ( open_.size() == deepest ) {
            throw JsonError( start, "nested deeper than " + std::to_string( deepest ) + " levels" );
        }
        open_.push_back( { kind, start, {}, {}, {} } );
        return true;
    }

    bool close() {
        bracket();
        JsonValue closed = std::move( open_.back() );
        open_.pop_back();
        place( std::move( closed ) );
        return true;
    }

    void place( JsonValue placed ) {
        if ( open_.empty() ) {
            root = std::move( placed );
        } else if ( open_.back().kind == JsonValue::Kind::Object ) {
            open_.back().members.back().value = std::move( placed );
        } else {
            open_.back().items.push_back( std::move( placed ) );
        }
    }

    std::string_view text_;
    const Text &stream_;
    size_t lastEnd_ = 0;
    std::vector<JsonValue> open_;
};

} // namespace

const JsonValue *JsonValue::find( std::string_view key ) const {
    const auto found = std::find_if( members.rbegin(), members.rend(),
                                     [key]( const Member &member ) { return member.key == key; } );
    return found == members.rend() ? nullptr : &found->value;
}

JsonValue parseJson( std::string_view text ) {
    constexpr unsigned flags = rapidjson::kParseNumbersAsStringsFlag |
                               rapidjson::kParseIterativeFlag |
                               rapidjson::kParseValidateEncodingFlag;
    Text stream( text );
    TreeBuilder builder( text, stream );
    rapidjson::Reader reader;
    const rapidjson::ParseResult result = reader.Parse<flags>( stream, builder );
    if ( result.IsError() ) {
        throw JsonError( result.Offset(), rapidjson::GetParseError_En( result.Code() ) );
    }
    return std::move( builder.root );
}

std::string lineAndColumn( std::string_view text, size_t offset ) {
    const std::string_view before = text.substr( 0, offset );
    const size_t line = static_cast<size_t>( std::ranges::count( before, '\n' ) ) + 1;
    const size_t lineStart = before.rfind( '\n' ) + 1; // npos + 1 is 0
    return std::to_string( line ) + ":" + std::to_string( before.size() - lineStart + 1 );
}

} // namespace EmulatedBoard
