#pragma once

#include "HostTool/Check/Values.h"

#include <rapidjson/schema.h>

#include <memory>
#include <string_view>
#include <vector>

namespace HostTool::Check {

/// What a schema says about a value that has no keys. The validator judges it; what is right at
/// first sight, as most values are, it does not get to see.
class Leaf {
  public:
    /// @param schema lives as long; one of an array says nothing here about its elements
    explicit Leaf( const Value &schema );

    /// @return the keyword of the schema that the value breaks; null when it breaks none
    const char *brokenKeyword( const Value &value );

  private:
    struct Compiled {
        explicit Compiled( const Value &schema ) : document( schema ), validator( document ) {}
        rapidjson::SchemaDocument document;
        rapidjson::SchemaValidator validator;
    };

    bool isRightAtFirstSight( const Value &value ) const;
    void compile();

    const Value &schema_;
    std::string_view type_; ///< empty unless the schema says little else
    int64_t lowest_;
    int64_t highest_;
    std::vector<std::string_view> words_; ///< all that it can be; empty for anything but texts
    bool isArray_;
    std::unique_ptr<Compiled> compiled_;
};

} // namespace HostTool::Check
