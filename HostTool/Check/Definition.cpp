#include "HostTool/Check/Definition.h"

#include "HostTool/Check/SchemaTexts.h"

#include <algorithm>

namespace HostTool::Check {

namespace {

// What a definition says of its alternatives and of the elements below it.
constexpr std::string_view leftOut[] = { "oneOf", "dependencies", "definitions", "items" };
constexpr std::string_view localPrefix = "#/definitions/";

bool isLeftOut( std::string_view key ) {
    return std::find( std::begin( leftOut ), std::end( leftOut ), key ) != std::end( leftOut );
}

rapidjson::Document withoutRequired( const Value &schema ) {
    rapidjson::Document copy;
    copy.CopyFrom( schema, copy.GetAllocator() );
    copy.RemoveMember( "required" );
    return copy;
}

/// Replaces the references of a schema to its own definitions by what they refer to.
class Inliner {
  public:
    Inliner( const Value &root, rapidjson::Document::AllocatorType &allocator )
        : root_( root ), allocator_( allocator ) {}

    Value inlined( const Value &schema ) const {
        if ( schema.IsArray() ) {
            Value copy( rapidjson::kArrayType );
            for ( const Value &element : schema.GetArray() ) {
                copy.PushBack( inlined( element ), allocator_ );
            }
            return copy;
        }
        if ( !schema.IsObject() ) {
            return Value( schema, allocator_ );
        }
        if ( const auto reference = textIn( schema, "$ref" ) ) {
            return reference->starts_with( localPrefix ) ? inlined( target( *reference ) )
                                                         : Value( rapidjson::kObjectType );
        }
        Value copy( rapidjson::kObjectType );
        for ( const auto &each : schema.GetObject() ) {
            copy.AddMember( Value( each.name, allocator_ ), inlined( each.value ), allocator_ );
        }
        return copy;
    }

    Value properties( const Value &schemas, std::span<const ChildRow> children ) const {
        Value copy( rapidjson::kObjectType );
        for ( const auto &each : schemas.GetObject() ) {
            const auto child =
                std::find_if( children.begin(), children.end(), [&]( const ChildRow &row ) {
                    return row.key == textOf( each.name );
                } );
            copy.AddMember( Value( each.name, allocator_ ),
                            child == children.end() ? inlined( each.value )
                                                    : bracket( each.value, child->isList ),
                            allocator_ );
        }
        return copy;
    }

  private:
    /// What is left of a child: which bracket it opens with.
    Value bracket( const Value &schema, bool isList ) const {
        Value copy( rapidjson::kObjectType );
        copy.AddMember( "type", Value( isList ? "array" : "object", allocator_ ), allocator_ );
        if ( const Value *description = member( resolved( schema ), "description" ) ) {
            copy.AddMember( "description", Value( *description, allocator_ ), allocator_ );
        }
        return copy;
    }

    const Value &resolved( const Value &schema ) const {
        const auto reference = textIn( schema, "$ref" );
        return reference && reference->starts_with( localPrefix ) ? target( *reference ) : schema;
    }

    const Value &target( std::string_view reference ) const {
        return *member( *member( root_, "definitions" ), reference.substr( localPrefix.size() ) );
    }

    const Value &root_;
    rapidjson::Document::AllocatorType &allocator_;
};

} // namespace

Definition::Definition( rapidjson::Document schema )
    : schema_( std::move( schema ) ), whole_( schema_ ), parts_( withoutRequired( schema_ ) ) {}

std::vector<std::string_view> Definition::requiredKeys() const {
    std::vector<std::string_view> keys;
    for ( const Value &key : elements( member( schema_, "required" ) ) ) {
        keys.push_back( textOf( key ) );
    }
    return keys;
}

std::vector<std::string> Definition::knownKeys() const {
    std::vector<std::string> keys;
    if ( const Value *properties = member( schema_, "properties" ) ) {
        for ( const auto &each : properties->GetObject() ) {
            keys.emplace_back( textOf( each.name ) );
        }
    }
    return keys;
}

const Value *Definition::property( std::string_view key ) const {
    const Value *properties = member( schema_, "properties" );
    return properties ? member( *properties, key ) : nullptr;
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
    std::unique_ptr<Definition> &compiled = compiled_[{ row.node, name }];
    if ( !compiled ) {
        compiled = compile( row, name );
    }
    return *compiled;
}

std::unique_ptr<Definition> Definitions::compile( const NodeRow &row, std::string_view name ) {
    const Value &root = schemaOf( row.schema );
    const Value &source = name.empty() ? root : *member( *member( root, "definitions" ), name );
    rapidjson::Document own( rapidjson::kObjectType );
    auto &allocator = own.GetAllocator();
    const Inliner inliner( root, allocator );
    for ( const auto &each : source.GetObject() ) {
        if ( isLeftOut( textOf( each.name ) ) ) {
            continue;
        }
        Value value = textOf( each.name ) == "properties"
                          ? inliner.properties( each.value, row.children )
                          : inliner.inlined( each.value );
        own.AddMember( Value( each.name, allocator ), value, allocator );
    }
    return std::make_unique<Definition>( std::move( own ) );
}

} // namespace HostTool::Check
