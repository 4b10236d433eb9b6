#include "HostTool/Check/Definition.h"

#include "HostTool/Check/SchemaTexts.h"

#include <algorithm>

namespace HostTool::Check {

namespace {

/// What a reference of a schema to one of its own definitions refers to.
const Value &resolved( const Value &root, const Value &schema ) {
    constexpr std::string_view localPrefix = "#/definitions/";
    const auto reference = textIn( schema, "$ref" );
    if ( !reference || !reference->starts_with( localPrefix ) ) {
        return schema;
    }
    const std::string_view name = reference->substr( localPrefix.size() );
    return resolved( root, *member( *member( root, "definitions" ), name ) );
}

const ChildRow *findChild( std::span<const ChildRow> children, std::string_view key ) {
    const auto found = std::find_if( children.begin(), children.end(),
                                     [key]( const ChildRow &row ) { return row.key == key; } );
    return found == children.end() ? nullptr : &*found;
}

bool isIn( std::string_view key, const Value *list ) {
    const auto keys = elements( list );
    return std::any_of( keys.begin(), keys.end(),
                        [key]( const Value &each ) { return textOf( each ) == key; } );
}

} // namespace

Definition::Property::Property( const Value &root, std::string_view key, const Value &schema,
                                bool isRequired, const ChildRow *child )
    : root_( root ), key_( key ), schema_( resolved( root, schema ) ), isRequired_( isRequired ),
      child_( child ) {}

Definition &Definition::Property::definition() {
    if ( !definition_ ) {
        definition_ = std::make_unique<Definition>( root_, schema_, std::span<const ChildRow>() );
    }
    return *definition_;
}

Definition::Definition( const Value &root, const Value &schema, std::span<const ChildRow> children )
    : root_( root ), schema_( schema ), isObject_( textIn( schema, "type" ) == "object" ),
      leaf_( schema ) {
    const Value *others = member( schema, "additionalProperties" );
    refusesOthers_ = others && others->IsFalse();
    const Value *properties = member( schema, "properties" );
    if ( !properties ) {
        return;
    }
    for ( const auto &each : properties->GetObject() ) {
        const std::string_view key = textOf( each.name );
        const bool isRequired = isIn( key, member( schema, "required" ) );
        requiredCount_ += isRequired ? 1 : 0;
        properties_.emplace_back( root, key, each.value, isRequired, findChild( children, key ) );
    }
}

Definition::Property *Definition::property( std::string_view key ) {
    const auto found =
        std::find_if( properties_.begin(), properties_.end(),
                      [key]( const Property &property ) { return property.key() == key; } );
    return found == properties_.end() ? nullptr : &*found;
}

std::vector<std::string> Definition::knownKeys() const {
    std::vector<std::string> keys;
    for ( const Property &property : properties_ ) {
        keys.emplace_back( property.key() );
    }
    return keys;
}

Definition *Definition::part( const char *key, std::unique_ptr<Definition> &made ) const {
    const Value *schema = member( schema_, key );
    if ( !made && schema && schema->IsObject() ) {
        made = std::make_unique<Definition>( root_, resolved( root_, *schema ),
                                             std::span<const ChildRow>() );
    }
    return made.get();
}

Definition *Definition::others() {
    return part( "additionalProperties", others_ );
}

Definition *Definition::elements() {
    return part( "items", elements_ );
}

Definitions &definitions() {
    thread_local Definitions made;
    return made;
}

const Value &Definitions::schemaOf( const char *schema ) {
    auto found = schemas_.find( schema );
    if ( found == schemas_.end() ) {
        found = schemas_.emplace( schema, rapidjson::Document() ).first;
        const std::string_view text = schemaText( schema );
        found->second.Parse( text.data(), text.size() );
    }
    return found->second;
}

Definition &Definitions::get( const NodeRow &row, const Value &value ) {
    const char *name = row.pick ? row.pick( value ) : row.definition;
    std::unique_ptr<Definition> &made = made_[{ row.node, name }];
    if ( !made ) {
        const Value &root = schemaOf( row.schema );
        const Value &schema =
            *name == '\0' ? root : *member( *member( root, "definitions" ), name );
        made = std::make_unique<Definition>( root, schema, row.children );
    }
    return *made;
}

} // namespace HostTool::Check
