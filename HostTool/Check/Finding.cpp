#include "HostTool/Check/Finding.h"

#include <algorithm>
#include <utility>

namespace HostTool::Check {

void Findings::add( RuleId rule, const JsonFile &document, Spot spot, std::string text,
                    std::string hint ) {
    if ( !met_.emplace( &document, spot, rule ).second ) {
        return;
    }
    const Rule &row = ruleOf( rule );
    findings_.push_back(
        { &row, &document, spot, std::move( text ), hint.empty() ? row.hint : std::move( hint ) } );
}

bool Findings::hasAt( const JsonFile &document, Spot spot ) const {
    const auto first = met_.lower_bound( { &document, spot, RuleId() } );
    return first != met_.end() && std::get<0>( *first ) == &document &&
           std::get<1>( *first ) == spot;
}

size_t Findings::count( Severity severity ) const {
    return static_cast<size_t>(
        std::count_if( findings_.begin(), findings_.end(), [severity]( const Finding &finding ) {
            return finding.rule->severity == severity;
        } ) );
}

} // namespace HostTool::Check
