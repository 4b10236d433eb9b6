#include "HostTool/Board/JsonOffsets.h"

#include <rapidjson/memorystream.h>
#include <rapidjson/reader.h>

#include <utility>

namespace HostTool {

namespace {

// The reader copies the parser library's own streams while it is inside a token; a stream of
// another type is used in place, so its position is the token's end when the handler is called.
class Text : public rapidjson::MemoryStream {
  public:
    explicit Text( std::string_view text ) : MemoryStream( text.data(), text.size() ) {}
};

class Collector : public rapidjson::BaseReaderHandler<rapidjson::UTF8<>, Collector> {
  public:
    Collector( std::string_view text, const Text &stream ) : text_( text ), stream_( stream ) {}

    bool Default() {
        note( tokenStart() );
        return true;
    }
    bool Key( const char *, rapidjson::SizeType, bool ) {
        key_ = tokenStart();
        return true;
    }
    bool StartObject() { return bracket( true ); }
    bool StartArray() { return bracket( true ); }
    bool EndObject( rapidjson::SizeType ) { return bracket( false ); }
    bool EndArray( rapidjson::SizeType ) { return bracket( false ); }

    std::vector<JsonOffsets> offsets;

  private:
    static constexpr size_t none = std::string_view::npos;

    // Between two tokens stand only blanks, commas and colons.
    size_t tokenStart() {
        const size_t start = text_.find_first_not_of( " \t\r\n,:", lastEnd_ );
        lastEnd_ = stream_.Tell();
        return start;
    }

    // The handler is called before the reader steps over a bracket.
    bool bracket( bool opens ) {
        const size_t start = tokenStart();
        lastEnd_ = start + 1;
        if ( opens ) {
            note( start );
        }
        return true;
    }

    void note( size_t start ) {
        const size_t key = std::exchange( key_, none );
        offsets.push_back( { key == none ? start : key, start } );
    }

    std::string_view text_;
    const Text &stream_;
    size_t lastEnd_ = 0;
    size_t key_ = none;
};

} // namespace

std::vector<JsonOffsets> offsetsOfValues( std::string_view text ) {
    Text stream( text );
    Collector collector( text, stream );
    rapidjson::Reader reader;
    reader.Parse<rapidjson::kParseIterativeFlag>( stream, collector );
    return std::move( collector.offsets );
}

} // namespace HostTool
