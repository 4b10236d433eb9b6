#pragma once

#include "HostTool/Check/EmulatedMap.h"

#include <functional>
#include <set>
#include <string>
#include <utility>

namespace HostTool::Check {

/// What the server wants of the cages of one chip: modules of one kind, each in one cage, and lines
/// that have their bits for themselves.
class CageRules {
  public:
    using Find = std::function<EmulatedChip *( const Value &name )>;

    CageRules( const JsonFile &document, Findings &findings, Find find )
        : document_( document ), findings_( findings ), find_( std::move( find ) ) {}

    void check( const Value &cages );

  private:
    void checkGroup( const Value &group );
    void checkLine( const Value &line, std::string_view name, std::string_view type, size_t count );
    void tell( const Value &value, const std::string &text, std::string hint = {} );

    const JsonFile &document_;
    Findings &findings_;
    Find find_;
    std::set<const EmulatedChip *> inCages_;
    std::set<uint32_t> takenBits_;
};

} // namespace HostTool::Check
