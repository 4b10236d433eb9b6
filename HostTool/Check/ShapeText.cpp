#include "HostTool/Check/ShapeText.h"

#include "HostTool/Output/Nearest.h"

#include <algorithm>

namespace HostTool::Check {

namespace {

struct TypeName {
    const char *type;
    const char *name;
};
constexpr TypeName typeNames[] = {
    { "object", "an object" }, { "array", "an array" },
    { "string", "a text" },    { "integer", "a whole number" },
    { "number", "a number" },  { "boolean", "true or false" },
    { "null", "null" },
};

std::string nameOfType( std::string_view type ) {
    for ( const TypeName &row : typeNames ) {
        if ( row.type == type ) {
            return row.name;
        }
    }
    return std::string( type );
}

std::string expectedType( const Value *schema ) {
    const Value *type = schema ? member( *schema, "type" ) : nullptr;
    if ( !type ) {
        return "of another type";
    }
    if ( type->IsString() ) {
        return nameOfType( textOf( *type ) );
    }
    std::string text;
    for ( const Value &each : elements( type ) ) {
        text += ( text.empty() ? "" : " or " ) + nameOfType( textOf( each ) );
    }
    return text;
}

std::vector<std::string> allowedTexts( const Value *schema ) {
    std::vector<std::string> texts;
    for ( const Value &each : elements( schema ? member( *schema, "enum" ) : nullptr ) ) {
        texts.push_back( each.IsString() ? std::string( textOf( each ) ) : shown( each ) );
    }
    return texts;
}

bool hasItsType( const Value *schema, const Value &value ) {
    const auto allowed = elements( member( *schema, "enum" ) );
    return std::any_of( allowed.begin(), allowed.end(),
                        [&]( const Value &each ) { return each.GetType() == value.GetType(); } );
}

std::string listed( const std::vector<std::string> &texts ) {
    std::string list;
    for ( const std::string &each : texts ) {
        list += ( list.empty() ? "" : ", " ) + each;
    }
    return list;
}

const Value *schemaAt( const Definition &definition, const std::vector<std::string> &path ) {
    const Value *schema = &definition.schema();
    for ( const std::string &key : path ) {
        const Value *properties = schema ? member( *schema, "properties" ) : nullptr;
        const Value *others = schema ? member( *schema, "additionalProperties" ) : nullptr;
        schema = properties ? member( *properties, key ) : others;
    }
    return schema;
}

std::vector<std::string> knownKeys( const Value *schema ) {
    std::vector<std::string> keys;
    if ( const Value *properties = schema ? member( *schema, "properties" ) : nullptr ) {
        for ( const auto &each : properties->GetObject() ) {
            keys.emplace_back( textOf( each.name ) );
        }
    }
    return keys;
}

std::string called( const std::vector<std::string> &path ) {
    return path.empty() ? "this" : "\"" + path.back() + "\"";
}

/// "; did you mean 'x'?" as a hint of its own.
std::string meant( std::string_view word, const std::vector<std::string> &known ) {
    const std::string text = didYouMean( word, known );
    return text.empty() ? "" : text.substr( 2 );
}

Fault unknownKey( const Definition &definition, std::vector<std::string> path ) {
    const std::string key = path.back();
    path.pop_back();
    const std::vector<std::string> known = knownKeys( schemaAt( definition, path ) );
    const std::string nearestKey = meant( key, known );
    return { RuleId::unknownKey, "unknown key \"" + key + "\"",
             nearestKey.empty() ? "known are " + listed( known ) : nearestKey };
}

} // namespace

std::string descriptionOf( const Value *schema ) {
    const auto text = schema ? textIn( *schema, "description" ) : std::nullopt;
    return std::string( text.value_or( "" ) );
}

Fault describe( const Definition &definition, const std::vector<std::string> &path,
                const Value &value, std::string_view keyword ) {
    const Value *schema = schemaAt( definition, path );
    if ( keyword == "additionalProperties" && !path.empty() ) {
        return unknownKey( definition, path );
    }
    if ( keyword == "type" ) {
        return { RuleId::wrongType,
                 called( path ) + " must be " + expectedType( schema ) + ", not " + typeOf( value ),
                 descriptionOf( schema ) };
    }
    if ( const std::vector<std::string> texts = allowedTexts( schema ); !texts.empty() ) {
        const std::string hint = value.IsString() ? meant( textOf( value ), texts ) : "";
        return { hasItsType( schema, value ) ? RuleId::wrongValue : RuleId::wrongType,
                 called( path ) + " cannot be " + shown( value ),
                 hint.empty() ? "it is one of " + listed( texts ) : hint };
    }
    return { RuleId::wrongValue, called( path ) + " cannot be " + shown( value ),
             descriptionOf( schema ) };
}

} // namespace HostTool::Check
