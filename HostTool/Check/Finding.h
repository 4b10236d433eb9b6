#pragma once

#include "HostTool/Board/JsonFile.h"
#include "HostTool/Check/Rules.h"

#include <set>
#include <string>
#include <tuple>
#include <vector>

namespace HostTool::Check {

/// Something that a rule says about a place of a document.
struct Finding {
    const Rule *rule;
    const JsonFile *document;
    Spot spot;
    std::string text;
    std::string hint;
};

class Findings {
  public:
    /// One finding of a rule a place: a second one is the first over again.
    /// @param hint what to do; empty: what the rule says.
    void add( RuleId rule, const JsonFile &document, Spot spot, std::string text,
              std::string hint = {} );

    /// Whether something is said about the place.
    bool hasAt( const JsonFile &document, Spot spot ) const;

    const std::vector<Finding> &all() const { return findings_; }
    size_t count( Severity severity ) const;

  private:
    std::vector<Finding> findings_;
    std::set<std::tuple<const JsonFile *, Spot, RuleId>> met_;
};

} // namespace HostTool::Check
