#pragma once

#include <algorithm>
#include <string_view>
#include <vector>

namespace SmbusServer {

/// The words of a line, which they refer to.
inline std::vector<std::string_view> splitWords( std::string_view line ) {
    constexpr std::string_view blanks = " \t\r";
    std::vector<std::string_view> words;
    for ( size_t start = line.find_first_not_of( blanks ); start != std::string_view::npos; ) {
        const size_t end = std::min( line.find_first_of( blanks, start ), line.size() );
        words.push_back( line.substr( start, end - start ) );
        start = line.find_first_not_of( blanks, end );
    }
    return words;
}

} // namespace SmbusServer
