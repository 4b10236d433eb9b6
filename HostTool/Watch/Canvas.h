#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace HostTool::Watch {

struct Size {
    int rows;
    int columns;
};

/// What a terminal without colour shows by other means is the painter's matter.
enum class Tint { plain, good, warning, trouble, beacon, dim };

struct Style {
    Tint tint = Tint::plain;
    bool bold = false;
    bool reverse = false;

    bool operator==( const Style & ) const = default;
};

/// One place of the screen. Every character is one place wide.
struct Glyph {
    char32_t character = U' ';
    Style style;

    bool operator==( const Glyph & ) const = default;
};

/// What the screen is to show. Whatever is put outside of it is cut off.
class Canvas {
  public:
    explicit Canvas( Size size );

    Size size() const { return size_; }
    const Glyph &at( int row, int column ) const { return glyphs_[index( row, column )]; }

    void put( int row, int column, char32_t character, Style style = {} );
    /// At most so many places of a text; what is no printable ASCII becomes '?'.
    /// @return the column behind it
    int put( int row, int column, std::string_view text, Style style = {},
             int width = longestText );
    /// Gives a whole row a style, text included.
    void tintRow( int row, Style style );

    /// A row as UTF-8 without the blanks at its end.
    std::string rowText( int row ) const;

  private:
    static constexpr int longestText = 4096;

    size_t index( int row, int column ) const {
        return static_cast<size_t>( row ) * static_cast<size_t>( size_.columns ) +
               static_cast<size_t>( column );
    }

    Size size_;
    std::vector<Glyph> glyphs_;
};

} // namespace HostTool::Watch
