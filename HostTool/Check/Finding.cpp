#include "HostTool/Check/Finding.h"

#include <algorithm>
#include <utility>

namespace HostTool::Check {

void Findings::add( RuleId rule, const Document &document, Spot spot, std::string text,
                    std::string hint ) {
    if ( !met_.emplace( rule, &document, spot ).second ) {
        return;
    }
    const Rule &row = ruleOf( rule );
    findings_.push_back(
        { &row, &document, spot, std::move( text ), hint.empty() ? row.hint : std::move( hint ) } );
}

size_t Findings::count( Severity severity ) const {
    return static_cast<size_t>(
        std::count_if( findings_.begin(), findings_.end(), [severity]( const Finding &finding ) {
            return finding.rule->severity == severity;
        } ) );
}

} // namespace HostTool::Check
