#pragma once

#include "HostTool/Check/Definition.h"
#include "HostTool/Check/Rules.h"

#include <string>
#include <vector>

namespace HostTool::Check {

/// What a schema's refusal means to a person.
struct Fault {
    RuleId rule;
    std::string text;
    std::string hint;
};

/// @param path keys from the object that the definition is for to the value
/// @param keyword of the schema, that the value breaks
Fault describe( const Definition &definition, const std::vector<std::string> &path,
                const Value &value, std::string_view keyword );

/// What a schema says about a value; empty when it says nothing.
std::string descriptionOf( const Value *schema );

} // namespace HostTool::Check
