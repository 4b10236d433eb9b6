#include "HostTool/Watch/Canvas.h"

#include <algorithm>

namespace HostTool::Watch {

namespace {

void appendUtf8( std::string &text, char32_t character ) {
    constexpr char32_t sixBits = 0x3f;
    const auto tail = [&]( unsigned shift ) {
        text += static_cast<char>( 0x80 | ( ( character >> shift ) & sixBits ) );
    };
    if ( character < 0x80 ) {
        text += static_cast<char>( character );
    } else if ( character < 0x800 ) {
        text += static_cast<char>( 0xc0 | ( character >> 6 ) );
        tail( 0 );
    } else {
        text += static_cast<char>( 0xe0 | ( character >> 12 ) );
        tail( 6 );
        tail( 0 );
    }
}

} // namespace

Canvas::Canvas( Size size )
    : size_( size ),
      glyphs_( static_cast<size_t>( size.rows ) * static_cast<size_t>( size.columns ) ) {}

void Canvas::put( int row, int column, char32_t character, Style style ) {
    if ( row >= 0 && row < size_.rows && column >= 0 && column < size_.columns ) {
        glyphs_[index( row, column )] = { character, style };
    }
}

int Canvas::put( int row, int column, std::string_view text, Style style, int width ) {
    const auto most = static_cast<size_t>( std::max( width, 0 ) );
    for ( const char each : text.substr( 0, most ) ) {
        const bool isPrintable = each >= ' ' && each <= '~';
        put( row, column++, isPrintable ? static_cast<char32_t>( each ) : U'?', style );
    }
    return column;
}

void Canvas::tintRow( int row, Style style ) {
    for ( int column = 0; column < size_.columns; ++column ) {
        put( row, column, at( row, column ).character, style );
    }
}

std::string Canvas::rowText( int row ) const {
    std::string text;
    for ( int column = 0; column < size_.columns; ++column ) {
        appendUtf8( text, at( row, column ).character );
    }
    text.erase( text.find_last_not_of( ' ' ) + 1 );
    return text;
}

} // namespace HostTool::Watch
