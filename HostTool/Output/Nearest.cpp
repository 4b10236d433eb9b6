#include "HostTool/Output/Nearest.h"

#include <algorithm>
#include <numeric>

namespace HostTool {

static size_t editDistance( std::string_view from, std::string_view to ) {
    std::vector<size_t> row( to.size() + 1 );
    std::iota( row.begin(), row.end(), size_t{ 0 } );
    for ( size_t i = 0; i < from.size(); ++i ) {
        size_t diagonal = row[0];
        row[0] = i + 1;
        for ( size_t j = 0; j < to.size(); ++j ) {
            const size_t replaced = diagonal + ( from[i] == to[j] ? 0 : 1 );
            diagonal = row[j + 1];
            row[j + 1] = std::min( { replaced, row[j] + 1, row[j + 1] + 1 } );
        }
    }
    return row[to.size()];
}

std::string nearest( std::string_view word, const std::vector<std::string> &known ) {
    const auto best = std::min_element(
        known.begin(), known.end(), [&]( const std::string &left, const std::string &right ) {
            return editDistance( word, left ) < editDistance( word, right );
        } );
    return best == known.end() ? std::string() : *best;
}

std::string didYouMean( std::string_view word, const std::vector<std::string> &known ) {
    const std::string candidate = nearest( word, known );
    const size_t longer = std::max( word.size(), candidate.size() );
    if ( candidate.empty() || editDistance( word, candidate ) * 2 > longer ) {
        return "";
    }
    return "; did you mean '" + candidate + "'?";
}

} // namespace HostTool
