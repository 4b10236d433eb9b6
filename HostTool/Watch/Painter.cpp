#include "HostTool/Watch/Painter.h"

#define NCURSES_NOMACROS
#include <curses.h>

#include <sys/ioctl.h>
#include <unistd.h>

#include <algorithm>
#include <iterator>

namespace HostTool::Watch {

namespace {

/// How a tint is shown: by its colour, or by attributes on a terminal without any.
struct TintRow {
    Tint tint;
    short colour; // of curses; -1 is the terminal's own
    attr_t withColour;
    attr_t without;
};

constexpr TintRow tints[] = {
    { Tint::plain, -1, A_NORMAL, A_NORMAL },
    { Tint::good, COLOR_GREEN, A_NORMAL, A_NORMAL },
    { Tint::warning, COLOR_YELLOW, A_NORMAL, A_BOLD },
    { Tint::trouble, COLOR_RED, A_NORMAL, A_BOLD | A_UNDERLINE },
    { Tint::beacon, COLOR_CYAN, A_NORMAL, A_BOLD },
    { Tint::dim, -1, A_DIM, A_NORMAL },
};

const TintRow &rowOf( Tint tint ) {
    return *std::find_if( std::begin( tints ), std::end( tints ),
                          [=]( const TintRow &each ) { return each.tint == tint; } );
}

// Pair 0 cannot be changed.
short pairOf( Tint tint ) {
    return static_cast<short>( static_cast<int>( tint ) + 1 );
}

struct KeyRow {
    int code;
    Key key;
};

constexpr int escapeCode = 27;
constexpr int deleteCode = 127;
constexpr int redrawCode = 12;

constexpr KeyRow keys[] = {
    { KEY_UP, { KeyCode::up } },
    { KEY_DOWN, { KeyCode::down } },
    { KEY_LEFT, { KeyCode::left } },
    { KEY_RIGHT, { KeyCode::right } },
    { '\t', { KeyCode::nextClass } },
    { KEY_BTAB, { KeyCode::previousClass } },
    { KEY_NPAGE, { KeyCode::nextClass } },
    { KEY_PPAGE, { KeyCode::previousClass } },
    { KEY_HOME, { KeyCode::first } },
    { KEY_END, { KeyCode::last } },
    { '\r', { KeyCode::enter } },
    { '\n', { KeyCode::enter } },
    { KEY_ENTER, { KeyCode::enter } },
    { escapeCode, { KeyCode::escape } },
    { KEY_BACKSPACE, { KeyCode::backspace } },
    { '\b', { KeyCode::backspace } },
    { deleteCode, { KeyCode::backspace } },
};

} // namespace

Painter::Painter( bool colour ) : colour_( colour ) {
    for ( const TintRow &row : tints ) {
        if ( colour_ ) {
            init_pair( pairOf( row.tint ), row.colour, -1 );
        }
    }
}

Size Painter::size() {
    winsize window = {};
    if ( ioctl( STDOUT_FILENO, TIOCGWINSZ, &window ) == 0 && window.ws_row > 0 &&
         window.ws_col > 0 &&
         ( window.ws_row != getmaxy( stdscr ) || window.ws_col != getmaxx( stdscr ) ) ) {
        resizeterm( window.ws_row, window.ws_col );
    }
    return { getmaxy( stdscr ), getmaxx( stdscr ) };
}

void Painter::paint( const Canvas &canvas ) const {
    for ( int row = 0; row < canvas.size().rows; ++row ) {
        for ( int column = 0; column < canvas.size().columns; ++column ) {
            const Glyph &glyph = canvas.at( row, column );
            const TintRow &tint = rowOf( glyph.style.tint );
            const attr_t attributes = ( colour_ ? tint.withColour : tint.without ) |
                                      ( glyph.style.bold ? A_BOLD : A_NORMAL ) |
                                      ( glyph.style.reverse ? A_REVERSE : A_NORMAL );
            const wchar_t text[] = { static_cast<wchar_t>( glyph.character ), L'\0' };
            cchar_t cell;
            setcchar( &cell, text, attributes, colour_ ? pairOf( glyph.style.tint ) : short{ 0 },
                      nullptr );
            mvadd_wch( row, column, &cell );
        }
    }
    refresh();
}

std::optional<Key> Painter::nextKey() {
    for ( int code = getch(); code != ERR; code = getch() ) {
        const auto row = std::find_if( std::begin( keys ), std::end( keys ),
                                       [=]( const KeyRow &each ) { return each.code == code; } );
        if ( row != std::end( keys ) ) {
            return row->key;
        }
        if ( code == redrawCode ) {
            clearok( stdscr, TRUE );
        }
        if ( code >= ' ' && code <= '~' ) {
            return Key{ KeyCode::character, static_cast<char>( code ) };
        }
    }
    return std::nullopt;
}

} // namespace HostTool::Watch
