#include "HostTool/Board/JsonFile.h"

#include "HostTool/Failure.h"

#include <rapidjson/error/en.h>
#include <rapidjson/reader.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <memory>
#include <vector>

namespace HostTool {

namespace {

// The library's own parser recurses, and a document nested deeper than this is no board.
constexpr size_t deepest = 200;

/// Builds the document and notes the offset of each value, parents before their children.
class PlacingHandler : public rapidjson::BaseReaderHandler<rapidjson::UTF8<>, PlacingHandler> {
  public:
    PlacingHandler( rapidjson::Document &document, const rapidjson::StringStream &stream )
        : document_( document ), stream_( stream ) {}

    bool Null() { return note() && document_.Null(); }
    bool Bool( bool value ) { return note() && document_.Bool( value ); }
    bool Int( int value ) { return note() && document_.Int( value ); }
    bool Uint( unsigned value ) { return note() && document_.Uint( value ); }
    bool Int64( int64_t value ) { return note() && document_.Int64( value ); }
    bool Uint64( uint64_t value ) { return note() && document_.Uint64( value ); }
    bool Double( double value ) { return note() && document_.Double( value ); }
    bool String( const char *text, rapidjson::SizeType length, bool ) {
        return note() && document_.String( text, length, true );
    }
    bool Key( const char *text, rapidjson::SizeType length, bool ) {
        return document_.Key( text, length, true );
    }
    bool StartObject() { return descend() && document_.StartObject(); }
    bool StartArray() { return descend() && document_.StartArray(); }
    bool EndObject( rapidjson::SizeType count ) {
        --depth_;
        return document_.EndObject( count );
    }
    bool EndArray( rapidjson::SizeType count ) {
        --depth_;
        return document_.EndArray( count );
    }

    const std::vector<size_t> &offsets() const { return offsets_; }

  private:
    /// The parser has not taken the value from the stream yet, except for true, false and null,
    /// which it stands right behind.
    bool note() {
        offsets_.push_back( stream_.Tell() );
        return true;
    }
    bool descend() { return ++depth_ <= deepest && note(); }

    rapidjson::Document &document_;
    const rapidjson::StringStream &stream_;
    std::vector<size_t> offsets_;
    size_t depth_ = 0;
};

using Offsets = std::unordered_map<const rapidjson::Value *, size_t>;

void assignOffsets( const rapidjson::Value &value, std::vector<size_t>::const_iterator &next,
                    Offsets &offsets ) {
    offsets.emplace( &value, *next++ );
    if ( value.IsArray() ) {
        for ( const auto &element : value.GetArray() ) {
            assignOffsets( element, next, offsets );
        }
    } else if ( value.IsObject() ) {
        for ( const auto &member : value.GetObject() ) {
            assignOffsets( member.value, next, offsets );
        }
    }
}

std::string readFile( const std::string &path ) {
    const std::unique_ptr<FILE, int ( * )( FILE * )> file( fopen( path.c_str(), "rbe" ), fclose );
    std::string text;
    std::array<char, 16384> piece;
    size_t length = 0;
    while ( file && ( length = fread( piece.data(), 1, piece.size(), file.get() ) ) > 0 ) {
        text.append( piece.data(), length );
    }
    if ( !file || ferror( file.get() ) ) {
        throw Failure( ExitCode::badInput, "cannot read " + path + ": " + strerror( errno ) );
    }
    return text;
}

} // namespace

JsonFile::JsonFile( const std::string &path ) : path_( path ), text_( readFile( path ) ) {
    parse();
}

void JsonFile::parse() {
    if ( const size_t zero = text_.find( '\0' ); zero != std::string::npos ) {
        refuse( zero, "a zero byte ends the document here" );
    }
    rapidjson::StringStream stream( text_.c_str() );
    PlacingHandler handler( document_, stream );
    rapidjson::Reader reader;
    rapidjson::ParseResult result;
    auto fill = [&]( rapidjson::Document & ) {
        constexpr auto flags =
            rapidjson::kParseIterativeFlag | rapidjson::kParseValidateEncodingFlag;
        result = reader.Parse<flags>( stream, handler );
        return !result.IsError();
    };
    document_.Populate( fill );
    if ( result.Code() == rapidjson::kParseErrorTermination ) {
        refuse( result.Offset(), "nested deeper than " + std::to_string( deepest ) + " levels" );
    }
    if ( result.IsError() ) {
        refuse( result.Offset(), rapidjson::GetParseError_En( result.Code() ) );
    }
    auto next = handler.offsets().begin();
    assignOffsets( document_, next, offsets_ );
}

void JsonFile::refuse( size_t offset, const std::string &message ) const {
    const size_t lineStart = offset == 0 ? 0 : text_.rfind( '\n', offset - 1 ) + 1;
    throw Failure( ExitCode::badInput, path_ + ":" + std::to_string( lineAt( offset ) ) + ":" +
                                           std::to_string( offset - lineStart + 1 ) + ": " +
                                           message );
}

size_t JsonFile::lineAt( size_t offset ) const {
    const auto end = text_.begin() + static_cast<std::ptrdiff_t>( offset );
    return static_cast<size_t>( std::count( text_.begin(), end, '\n' ) ) + 1;
}

size_t JsonFile::lineOf( const rapidjson::Value &value ) const {
    return lineAt( offsets_.at( &value ) );
}

} // namespace HostTool
