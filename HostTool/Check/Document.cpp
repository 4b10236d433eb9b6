#include "HostTool/Check/Document.h"

#include "HostTool/Check/Offsets.h"
#include "HostTool/Failure.h"

#include <rapidjson/error/en.h>
#include <rapidjson/reader.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <memory>
#include <span>
#include <string_view>
#include <utility>

namespace HostTool::Check {

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
    bool Double( double value ) { return document_.Double( value ); }
    bool String( const char *text, rapidjson::SizeType length, bool ) {
        return document_.String( text, length, true );
    }
    bool Key( const char *text, rapidjson::SizeType length, bool ) {
        return document_.Key( text, length, true );
    }
    bool StartObject() { return ++depth_ <= deepest && document_.StartObject(); }
    bool StartArray() { return ++depth_ <= deepest && document_.StartArray(); }
    bool EndObject( rapidjson::SizeType count ) {
        --depth_;
        return document_.EndObject( count );
    }
    bool EndArray( rapidjson::SizeType count ) {
        --depth_;
        return document_.EndArray( count );
    }

  private:
    rapidjson::Document &document_;
    size_t depth_ = 0;
};

// Recursion is the fastest, and the guard keeps it from going deep.
template <unsigned flags>
rapidjson::ParseResult parseGuarded( const std::string &text, rapidjson::Document &document ) {
    rapidjson::StringStream stream( text.c_str() );
    DepthGuard guard( document );
    rapidjson::Reader reader;
    rapidjson::ParseResult result;
    auto fill = [&]( rapidjson::Document & ) {
        result = reader.Parse<flags>( stream, guard );
        return !result.IsError();
    };
    document.Populate( fill );
    return result;
}

std::optional<Flaw> parse( const std::string &text, rapidjson::Document &document ) {
    if ( text.size() > largest ) {
        return Flaw{ Flaw::What::tooLarge, 0,
                     "larger than " + std::to_string( largest >> 20 ) + " MiB" };
    }
    if ( const size_t zero = text.find( '\0' ); zero != std::string::npos ) {
        return Flaw{ Flaw::What::syntax, zero, "a zero byte ends the document here" };
    }
    const bool isAscii = std::all_of( text.begin(), text.end(), []( char c ) { return c >= 0; } );
    const rapidjson::ParseResult result =
        isAscii ? parseGuarded<rapidjson::kParseDefaultFlags>( text, document )
                : parseGuarded<rapidjson::kParseValidateEncodingFlag>( text, document );
    if ( result.Code() == rapidjson::kParseErrorTermination ) {
        return Flaw{ Flaw::What::tooDeep, result.Offset(),
                     "nested deeper than " + std::to_string( deepest ) + " levels" };
    }
    if ( result.IsError() ) {
        return Flaw{ Flaw::What::syntax, result.Offset(),
                     rapidjson::GetParseError_En( result.Code() ) };
    }
    return std::nullopt;
}

struct KindName {
    Kind kind;
    const char *inFileName;
};
constexpr KindName kindNames[] = {
    { Kind::topology, "topology" },
    { Kind::devices, "devices" },
    { Kind::emulation, "emulation" },
    { Kind::arguments, "arguments" },
};

struct KindKey {
    Kind kind;
    const char *key;
};
constexpr KindKey keysOfElements[] = {
    { Kind::devices, "class" },
    { Kind::topology, "type" },
    { Kind::topology, "ham" },
};
constexpr KindKey keysOfObjects[] = {
    { Kind::emulation, "busses" },
    { Kind::devices, "devices" },
    { Kind::arguments, "driver" },
    { Kind::arguments, "did" },
};

std::optional<Kind> kindByKeys( const Value &object, std::span<const KindKey> keys ) {
    for ( const KindKey &row : keys ) {
        if ( object.IsObject() && object.HasMember( row.key ) ) {
            return row.kind;
        }
    }
    return std::nullopt;
}

} // namespace

std::string Document::readFile( const std::string &path ) {
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

Document::Document( std::string path, std::string text )
    : path_( std::move( path ) ), text_( std::move( text ) ), flaw_( parse( text_, document_ ) ) {}

std::optional<Kind> Document::kind() const {
    const std::string name = std::filesystem::path( path_ ).filename();
    for ( const KindName &row : kindNames ) {
        if ( name.find( row.inFileName ) != std::string::npos ) {
            return row.kind;
        }
    }
    if ( document_.IsArray() && !document_.Empty() ) {
        return kindByKeys( document_[0], keysOfElements );
    }
    return kindByKeys( document_, keysOfObjects );
}

void Document::findOffsets() const {
    const std::vector<TokenOffsets> all = offsetsOfValues( text_ );
    auto next = all.begin();
    const auto assign = [&]( const auto &self, const Value &value ) -> void {
        offsets_.emplace( &value, Offsets{ next->key, next->value } );
        ++next;
        if ( value.IsArray() ) {
            for ( const Value &element : value.GetArray() ) {
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

Place Document::placeOf( Spot spot ) const {
    if ( !spot.value ) {
        return placeAt( spot.offset );
    }
    if ( offsets_.empty() ) {
        findOffsets();
    }
    const Offsets &offsets = offsets_.at( spot.value );
    return placeAt( spot.key ? offsets.key : offsets.value );
}

Place Document::placeAt( size_t offset ) const {
    const std::string_view before = std::string_view( text_ ).substr( 0, offset );
    const size_t lineStart = before.rfind( '\n' ) + 1; // npos + 1 is 0
    return { static_cast<size_t>( std::count( before.begin(), before.end(), '\n' ) ) + 1,
             before.size() - lineStart + 1 };
}

} // namespace HostTool::Check
