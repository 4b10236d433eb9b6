#include "HostTool/Board/JsonFile.h"

#include "HostTool/Failure.h"

#include <rapidjson/error/en.h>
#include <rapidjson/memorystream.h>
#include <rapidjson/reader.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <memory>
#include <utility>

namespace HostTool {

namespace {

// The library's parser recurses: a deeper document would take its stack.
constexpr size_t deepest = 200;
constexpr size_t largest = size_t{ 64 } << 20;

/// Hands everything on to a document, as long as it is not too deep.
class DepthGuard : public rapidjson::BaseReaderHandler<rapidjson::UTF8<>, DepthGuard> {
  public:
    explicit DepthGuard( rapidjson::Document &document ) : document_( document ) {}

    bool Null() { return document_.Null(); }
    bool Bool( bool value ) { return document_.Bool( value ); }
    bool Int( int value ) { return document_.Int( value ); }
    bool Uint( unsigned value ) { return document_.Uint( value ); }
    bool Int64( int64_t value ) { return document_.Int64( value ); }
    bool Uint64( uint64_t value ) { return document_.Uint64( value ); }
    bool Double( double value ) {
        return std::isfinite( value ) && document_.Double( value ); // the reader lets a few pass
    }
    bool String( const char *text, rapidjson::SizeType length, bool ) {
        return document_.String( text, length, true );
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

    bool isTooDeep() const { return depth_ > deepest; }

  private:
    bool descend() { return ++depth_ <= deepest; }

    rapidjson::Document &document_;
    size_t depth_ = 0;
};

// Recursion is the fastest, and the guard keeps it from going deep.
template <unsigned flags, class Stream>
rapidjson::ParseResult parseGuarded( Stream stream, rapidjson::Document &document ) {
    DepthGuard guard( document );
    rapidjson::Reader reader;
    rapidjson::ParseResult result;
    auto fill = [&]( rapidjson::Document & ) {
        result = reader.Parse<flags>( stream, guard );
        return !result.IsError();
    };
    document.Populate( fill );
    if ( result.Code() == rapidjson::kParseErrorTermination && !guard.isTooDeep() ) {
        result.Set( rapidjson::kParseErrorNumberTooBig, result.Offset() );
    }
    return result;
}

} // namespace

JsonFile::JsonFile( const std::string &path ) : JsonFile( path, textOfFile( path ) ) {
    if ( flaw_ ) {
        const Place place = placeAt( flaw_->offset );
        throw Failure( ExitCode::badInput, path_ + ":" + std::to_string( place.line ) + ":" +
                                               std::to_string( place.column ) + ": " +
                                               flaw_->message );
    }
}

JsonFile::JsonFile( std::string path, std::string text )
    : path_( std::move( path ) ), text_( std::move( text ) ) {
    flaw_ = parse();
}

std::string JsonFile::textOfFile( const std::string &path ) {
    const std::unique_ptr<FILE, int ( * )( FILE * )> file( fopen( path.c_str(), "rbe" ), fclose );
    std::string text;
    std::array<char, 16384> piece;
    size_t length = 0;
    // One byte too many is enough to know.
    while ( file && text.size() <= largest &&
            ( length = fread( piece.data(), 1, piece.size(), file.get() ) ) > 0 ) {
        text.append( piece.data(), length );
    }
    if ( !file || ferror( file.get() ) ) {
        throw Failure( ExitCode::badInput, "cannot read " + path + ": " + strerror( errno ) );
    }
    return text;
}

std::optional<Flaw> JsonFile::parse() {
    if ( text_.size() > largest ) {
        return Flaw{ Flaw::What::tooLarge, 0,
                     "larger than " + std::to_string( largest >> 20 ) + " MiB" };
    }
    if ( const size_t zero = text_.find( '\0' ); zero != std::string::npos ) {
        return Flaw{ Flaw::What::syntax, zero, "a zero byte ends the document here" };
    }
    if ( text_.starts_with( "\xef\xbb\xbf" ) ) {
        return Flaw{ Flaw::What::syntax, 0, "a byte order mark stands in front of the document" };
    }
    const bool isAscii = std::all_of( text_.begin(), text_.end(), []( char c ) { return c >= 0; } );
    const rapidjson::ParseResult result =
        isAscii ? parseGuarded<rapidjson::kParseDefaultFlags>(
                      rapidjson::StringStream( text_.c_str() ), document_ )
                // Of a character that the end of the text cuts off, it looks for the rest.
                : parseGuarded<rapidjson::kParseValidateEncodingFlag>(
                      rapidjson::MemoryStream( text_.data(), text_.size() ), document_ );
    if ( result.Code() == rapidjson::kParseErrorTermination ) {
        // The parser stands behind the bracket.
        return Flaw{ Flaw::What::tooDeep, result.Offset() - 1,
                     "nested deeper than " + std::to_string( deepest ) + " levels" };
    }
    if ( result.IsError() ) {
        return Flaw{ Flaw::What::syntax, result.Offset(),
                     rapidjson::GetParseError_En( result.Code() ) };
    }
    return std::nullopt;
}

void JsonFile::findOffsets() const {
    const std::vector<JsonOffsets> all = offsetsOfValues( text_ );
    offsets_.reserve( all.size() );
    auto next = all.begin();
    const auto assign = [&]( const auto &self, const rapidjson::Value &value ) -> void {
        offsets_.emplace( &value, *next++ );
        if ( value.IsArray() ) {
            for ( const rapidjson::Value &element : value.GetArray() ) {
                self( self, element );
            }
        } else if ( value.IsObject() ) {
            for ( const auto &member : value.GetObject() ) {
                self( self, member.value );
            }
        }
    };
    assign( assign, document_ );
}

const JsonOffsets &JsonFile::offsetsOf( const rapidjson::Value &value ) const {
    if ( offsets_.empty() ) {
        findOffsets();
    }
    return offsets_.at( &value );
}

Place JsonFile::placeOf( Spot spot ) const {
    if ( !spot.value ) {
        return placeAt( spot.offset );
    }
    const JsonOffsets &offsets = offsetsOf( *spot.value );
    return placeAt( spot.key ? offsets.key : offsets.value );
}

Place JsonFile::placeAt( size_t offset ) const {
    if ( lineStarts_.empty() ) {
        lineStarts_.push_back( 0 );
        for ( size_t end = text_.find( '\n' ); end != std::string::npos;
              end = text_.find( '\n', end + 1 ) ) {
            lineStarts_.push_back( end + 1 );
        }
    }
    const auto next = std::upper_bound( lineStarts_.begin(), lineStarts_.end(), offset );
    return { static_cast<size_t>( next - lineStarts_.begin() ), offset - *( next - 1 ) + 1 };
}

std::string_view JsonFile::digitsOf( const rapidjson::Value &number ) const {
    const std::string_view text = std::string_view( text_ ).substr( offsetsOf( number ).value );
    return text.substr( 0, text.find_first_not_of( "+-.0123456789eE" ) );
}

} // namespace HostTool
