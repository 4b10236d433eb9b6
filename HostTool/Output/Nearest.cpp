#include "HostTool/Output/Nearest.h"

#include <algorithm>
#include <numeric>

namespace HostTool {

// Edits are another character, one more, one fewer, and two neighbours the other way round.
static size_t editDistance( std::string_view from, std::string_view to ) {
    std::vector<size_t> twoAbove( to.size() + 1 );
    std::vector<size_t> above( to.size() + 1 );
    std::vector<size_t> row( to.size() + 1 );
    std::iota( row.begin(), row.end(), size_t{ 0 } );
    for ( size_t i = 0; i < from.size(); ++i ) {
        twoAbove.swap( above );
        above.swap( row );
        row[0] = i + 1;
        for ( size_t j = 0; j < to.size(); ++j ) {
            const size_t replaced = above[j] + ( from[i] == to[j] ? 0 : 1 );
            row[j + 1] = std::min( { replaced, row[j] + 1, above[j + 1] + 1 } );
            if ( i > 0 && j > 0 && from[i] == to[j - 1] && from[i - 1] == to[j] ) {
                row[j + 1] = std::min( row[j + 1], twoAbove[j - 1] + 1 );
            }
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

// All options begin alike: that says nothing about which is meant.
static size_t lettersOf( std::string_view word ) {
    return word.size() - std::min( word.find_first_not_of( '-' ), word.size() );
}

std::string didYouMean( std::string_view word, const std::vector<std::string> &known ) {
    const std::string candidate = nearest( word, known );
    const size_t longer = std::max( lettersOf( word ), lettersOf( candidate ) );
    if ( candidate.empty() || editDistance( word, candidate ) * 2 >= longer ) {
        return "";
    }
    return "; did you mean '" + candidate + "'?";
}

} // namespace HostTool
