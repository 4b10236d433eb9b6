#pragma once

#include "HostTool/Check/ShapeTable.h"
#include "HostTool/Check/Values.h"

#include <rapidjson/schema.h>

#include <map>
#include <memory>
#include <set>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace HostTool::Check {

/// One definition of a schema, for one object at a time: what stands below its children is no
/// business of it, and neither are the alternatives that it is one of.
class Definition {
  public:
    using Validator = rapidjson::SchemaValidator;

    /// @param schema with its references resolved
    explicit Definition( rapidjson::Document schema );

    /// As it should be.
    Validator &whole() { return whole_.validator; }
    /// Without the keys that an object must have, to judge the keys that it has.
    Validator &parts() { return parts_.validator; }

    std::vector<std::string_view> requiredKeys() const;
    std::vector<std::string> knownKeys() const;
    /// What is said about a key; null for a key that it does not know.
    const Value *property( std::string_view key ) const;
    const Value &schema() const { return schema_; }

  private:
    struct Compiled {
        explicit Compiled( const Value &source ) : document( source ), validator( document ) {}
        rapidjson::SchemaDocument document;
        Validator validator;
    };

    rapidjson::Document schema_;
    Compiled whole_;
    Compiled parts_;
};

/// The definitions of all schemas, compiled when they are first asked for.
class Definitions {
  public:
    /// What a value of this kind is to be judged by.
    Definition &get( const NodeRow &row, const Value &value );

  private:
    const Value &schemaOf( const char *schema );
    std::unique_ptr<Definition> compile( const NodeRow &row, std::string_view name );

    std::map<std::string, rapidjson::Document, std::less<>> schemas_;
    // By the address of the name, which is a literal.
    std::map<std::pair<Node, const char *>, std::unique_ptr<Definition>> compiled_;
};

} // namespace HostTool::Check
