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

std::string expectedType( const Value &schema ) {
    const Value *type = member( schema, "type" );
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

std::vector<std::string> allowedTexts( const Value &schema ) {
    std::vector<std::string> texts;
    for ( const Value &each : elements( member( schema, "enum" ) ) ) {
        texts.push_back( each.IsString() ? std::string( textOf( each ) ) : shown( each ) );
    }
    return texts;
}

bool hasItsType( const Value &schema, const Value &value ) {
    const auto allowed = elements( member( schema, "enum" ) );
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

std::string called( std::string_view key ) {
    return key.empty() ? "this" : "\"" + std::string( key ) + "\"";
}

/// "; did you mean 'x'?" as a hint of its own.
std::string meant( std::string_view word, const std::vector<std::string> &known ) {
    const std::string text = didYouMean( word, known );
    return text.empty() ? "" : text.substr( 2 );
}

std::string descriptionOf( const Value &schema ) {
    return std::string( textIn( schema, "description" ).value_or( "" ) );
}

} // namespace

Fault missingKey( std::string_view key, const Value &schema ) {
    return { RuleId::missingKey, "\"" + std::string( key ) + "\" is missing",
             descriptionOf( schema ) };
}

Fault unknownKey( std::string_view key, const std::vector<std::string> &known ) {
    const std::string nearestKey = meant( key, known );
    return { RuleId::unknownKey, "unknown key \"" + std::string( key ) + "\"",
             nearestKey.empty() ? "known are " + listed( known ) : nearestKey };
}

Fault wrongType( const Value &schema, std::string_view key, const Value &value,
                 const std::string &expected ) {
    return { RuleId::wrongType, called( key ) + " must be " + expected + ", not " + typeOf( value ),
             descriptionOf( schema ) };
}

Fault wrongValue( const Value &schema, std::string_view key, const Value &value ) {
    return { RuleId::wrongValue, called( key ) + " cannot be " + shown( value ),
             descriptionOf( schema ) };
}

Fault describe( const Value &schema, std::string_view key, const Value &value,
                std::string_view keyword ) {
    if ( keyword == "type" ) {
        return wrongType( schema, key, value, expectedType( schema ) );
    }
    Fault fault = wrongValue( schema, key, value );
    if ( const std::vector<std::string> texts = allowedTexts( schema ); !texts.empty() ) {
        const std::string hint = value.IsString() ? meant( textOf( value ), texts ) : "";
        fault.rule = hasItsType( schema, value ) ? RuleId::wrongValue : RuleId::wrongType;
        fault.hint = hint.empty() ? "it is one of " + listed( texts ) : hint;
    }
    return fault;
}

} // namespace HostTool::Check
