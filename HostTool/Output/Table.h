#pragma once

#include <string>
#include <vector>

namespace HostTool {

enum class Colour { none, red, yellow };
enum class Align { left, right };

struct Cell {
    std::string text;
    Align align = Align::left;
    Colour colour = Colour::none;
};

struct TableRow {
    std::vector<Cell> cells;
    std::vector<std::string> below; ///< lines of free text that belong to the row
};

/// Rows in aligned columns, as a person reads them.
class Table {
  public:
    explicit Table( std::vector<std::string> headings ) : headings_( std::move( headings ) ) {}

    void add( TableRow row ) { rows_.push_back( std::move( row ) ); }
    /// Every line indented by so many blanks, no blanks at line ends.
    std::string text( size_t indent, bool coloured ) const;

  private:
    std::vector<size_t> widths() const;

    std::vector<std::string> headings_;
    std::vector<TableRow> rows_;
};

/// Colours are for terminals, and only when NO_COLOR is unset or empty.
bool wantsColour();

} // namespace HostTool
