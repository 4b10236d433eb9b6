#pragma once

#include "HostTool/Check/Rules.h"
#include "HostTool/Check/Values.h"

#include <string>
#include <string_view>
#include <vector>

namespace HostTool::Check {

/// What is wrong with the shape of a document, as a person reads it.
struct Fault {
    RuleId rule;
    std::string text;
    std::string hint; ///< what the schema says; empty when it says nothing
};

Fault missingKey( std::string_view key, const Value &schema );
Fault unknownKey( std::string_view key, const std::vector<std::string> &known );
/// @param key of the value; empty when it has none
/// @param expected "an array"
Fault wrongType( const Value &schema, std::string_view key, const Value &value,
                 const std::string &expected );
Fault wrongValue( const Value &schema, std::string_view key, const Value &value );
/// @param keyword of the schema, that the value breaks
Fault describe( const Value &schema, std::string_view key, const Value &value,
                std::string_view keyword );

} // namespace HostTool::Check
