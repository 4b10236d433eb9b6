#pragma once

#include "HostTool/Check/Leaf.h"
#include "HostTool/Check/ShapeTable.h"

#include <map>
#include <memory>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace HostTool::Check {

/// One definition of a schema: what it says about an object, key by key, about an array, element by
/// element, or about a value that is neither. The alternatives that it is one of are no business of
/// it.
class Definition {
  public:
    /// A key that the definition knows.
    class Property {
      public:
        Property( const Value &root, std::string_view key, const Value &schema, bool isRequired,
                  const ChildRow *child );

        std::string_view key() const { return key_; }
        const Value &schema() const { return schema_; }
        bool isRequired() const { return isRequired_; }
        /// The node that the value is, or each element of it; null where it is none.
        const ChildRow *childOf( const Value &parent ) const {
            return child_ && ( !child_->applies || child_->applies( parent ) ) ? child_ : nullptr;
        }
        /// What to judge the value by when it is no node.
        Definition &definition();

      private:
        const Value &root_;
        std::string_view key_;
        const Value &schema_;
        bool isRequired_;
        const ChildRow *child_;
        std::unique_ptr<Definition> definition_;
    };

    /// @param root the schema that its references are within
    Definition( const Value &root, const Value &schema, std::span<const ChildRow> children );

    bool isObject() const { return isObject_; }
    bool refusesOtherKeys() const { return refusesOthers_; }
    size_t requiredCount() const { return requiredCount_; }

    std::vector<Property> &properties() { return properties_; }
    /// @return null for a key that the definition does not know
    Property *property( std::string_view key );
    std::vector<std::string> knownKeys() const;
    /// What to judge the values of keys by that it does not know; null: nothing is said of them.
    Definition *others();
    /// What to judge the elements of an array by; null: nothing is said of them.
    Definition *elements();

    const Value &schema() const { return schema_; }
    /// For a value that is no object.
    Leaf &leaf() { return leaf_; }

  private:
    Definition *part( const char *key, std::unique_ptr<Definition> &made ) const;

    const Value &root_;
    const Value &schema_;
    bool isObject_;
    bool refusesOthers_;
    size_t requiredCount_ = 0;
    std::vector<Property> properties_;
    std::unique_ptr<Definition> others_;
    std::unique_ptr<Definition> elements_;
    Leaf leaf_;
};

/// The definitions of all schemas, made when they are first asked for.
class Definitions {
  public:
    /// What a value of this kind is to be judged by.
    Definition &get( const NodeRow &row, const Value &value );

  private:
    const Value &schemaOf( const char *schema );

    std::map<std::string, rapidjson::Document, std::less<>> schemas_;
    // By the address of the name, which is a literal.
    std::map<std::pair<Node, const char *>, std::unique_ptr<Definition>> made_;
};

/// One for each thread, for good: to make them takes longer than to judge a small document.
Definitions &definitions();

} // namespace HostTool::Check
