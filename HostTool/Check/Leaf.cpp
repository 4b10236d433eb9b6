#include "HostTool/Check/Leaf.h"

#include <algorithm>
#include <limits>

namespace HostTool::Check {

namespace {

constexpr std::string_view seenAtOnce[] = { "description", "type", "minimum", "maximum" };

bool isSeenAtOnce( const Value &schema ) {
    return std::all_of( schema.MemberBegin(), schema.MemberEnd(), []( const auto &each ) {
        return std::find( std::begin( seenAtOnce ), std::end( seenAtOnce ), textOf( each.name ) ) !=
               std::end( seenAtOnce );
    } );
}

std::vector<std::string_view> wordsOf( const Value &schema ) {
    std::vector<std::string_view> words;
    for ( const Value &each : elements( member( schema, "enum" ) ) ) {
        if ( !each.IsString() ) {
            return {};
        }
        words.push_back( textOf( each ) );
    }
    return words;
}

int64_t limit( const Value &schema, std::string_view key, int64_t otherwise ) {
    const Value *value = member( schema, key );
    return value && value->IsInt64() ? value->GetInt64() : otherwise;
}

} // namespace

Leaf::Leaf( const Value &schema )
    : schema_( schema ), lowest_( limit( schema, "minimum", std::numeric_limits<int64_t>::min() ) ),
      highest_( limit( schema, "maximum", std::numeric_limits<int64_t>::max() ) ),
      words_( wordsOf( schema ) ), isArray_( textIn( schema, "type" ) == "array" ) {
    if ( isSeenAtOnce( schema ) ) {
        type_ = textIn( schema, "type" ).value_or( "" );
    }
}

bool Leaf::isRightAtFirstSight( const Value &value ) const {
    if ( value.IsString() ) {
        return type_ == "string" ||
               std::find( words_.begin(), words_.end(), wholeText( value ) ) != words_.end();
    }
    const bool isNumber = type_ == "integer" || type_ == "number";
    return isNumber && value.IsInt64() && value.GetInt64() >= lowest_ &&
           value.GetInt64() <= highest_;
}

void Leaf::compile() {
    rapidjson::Document own;
    own.CopyFrom( schema_, own.GetAllocator() );
    own.RemoveMember( "items" );
    compiled_ = std::make_unique<Compiled>( own );
}

const char *Leaf::brokenKeyword( const Value &value ) {
    if ( isRightAtFirstSight( value ) ) {
        return nullptr;
    }
    if ( !compiled_ ) {
        compile();
    }
    rapidjson::SchemaValidator &validator = compiled_->validator;
    validator.Reset();
    const bool isRight = isArray_ && value.IsArray()
                             ? validator.StartArray() && validator.EndArray( value.Size() )
                             : value.Accept( validator );
    return isRight ? nullptr : validator.GetInvalidSchemaKeyword();
}

} // namespace HostTool::Check
