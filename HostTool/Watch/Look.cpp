#include "HostTool/Watch/Look.h"

#include <algorithm>
#include <iterator>

namespace HostTool::Watch {

namespace {

struct MarkRow {
    Mark mark;
    char32_t utf8;
    char32_t ascii;
};

constexpr MarkRow marks[] = {
    { Mark::module, U'\u25a0', U'#' },   // black square
    { Mark::cage, U'\u00b7', U'.' },     // middle dot
    { Mark::lampLit, U'\u25cf', U'*' },  // black circle
    { Mark::lampDark, U'\u25cb', U'o' }, // white circle
    { Mark::barFull, U'\u2588', U'=' },  // full block
    { Mark::barEmpty, U'\u2591', U'-' }, // light shade
};

} // namespace

char32_t characterOf( Mark mark, const Look &look ) {
    const auto row = std::find_if( std::begin( marks ), std::end( marks ),
                                   [=]( const MarkRow &each ) { return each.mark == mark; } );
    return look.utf8 ? row->utf8 : row->ascii;
}

} // namespace HostTool::Watch
