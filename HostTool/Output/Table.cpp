#include "HostTool/Output/Table.h"

#include <algorithm>
#include <cstdlib>
#include <string_view>
#include <unistd.h>

namespace HostTool {

namespace {

constexpr size_t gap = 2;

std::string painted( const std::string &text, Colour colour ) {
    constexpr const char *start[] = { "", "\033[31m", "\033[33m" }; // in the order of Colour
    constexpr const char *end = "\033[0m";
    return colour == Colour::none ? text : start[static_cast<size_t>( colour )] + text + end;
}

std::string line( size_t indent, const std::vector<Cell> &cells, const std::vector<size_t> &widths,
                  bool coloured ) {
    std::string text( indent, ' ' );
    size_t owed = 0; // blanks that the next text will want in front of it
    for ( size_t i = 0; i < cells.size(); ++i ) {
        const Cell &cell = cells[i];
        const size_t fill = widths[i] - cell.text.size();
        const size_t before = owed + ( cell.align == Align::right ? fill : 0 );
        owed = gap + ( cell.align == Align::right ? 0 : fill );
        if ( cell.text.empty() ) {
            owed += before;
            continue;
        }
        text.append( before, ' ' );
        text += coloured ? painted( cell.text, cell.colour ) : cell.text;
    }
    text += '\n';
    return text;
}

} // namespace

std::vector<size_t> Table::widths() const {
    std::vector<size_t> widths;
    for ( size_t i = 0; i < headings_.size(); ++i ) {
        size_t width = headings_[i].size();
        for ( const TableRow &row : rows_ ) {
            width = std::max( width, row.cells[i].text.size() );
        }
        widths.push_back( width );
    }
    return widths;
}

std::string Table::text( size_t indent, bool coloured ) const {
    const std::vector<size_t> width = widths();
    std::vector<Cell> heading;
    for ( size_t i = 0; i < headings_.size(); ++i ) {
        heading.push_back(
            { headings_[i], rows_.empty() ? Align::left : rows_.front().cells[i].align } );
    }
    std::string text = line( indent, heading, width, false );
    for ( const TableRow &row : rows_ ) {
        text += line( indent, row.cells, width, coloured );
        for ( const std::string &below : row.below ) {
            text += std::string( 2 * indent + gap, ' ' ) + below + "\n";
        }
    }
    return text;
}

bool wantsColour() {
    const char *noColour = getenv( "NO_COLOR" );
    const char *terminal = getenv( "TERM" );
    return isatty( STDOUT_FILENO ) == 1 && !( noColour && *noColour ) && terminal &&
           std::string_view( terminal ) != "dumb";
}

} // namespace HostTool
