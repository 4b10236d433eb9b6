#include "HostTool/Watch/PortPanel.h"

#include "HostTool/Watch/Fields.h"

#include <algorithm>
#include <vector>

namespace HostTool::Watch {

namespace {

constexpr int labelWidth = 8;
constexpr int cageWidth = 4;
constexpr int cagesAbove = 2; // a cage and the one below it
constexpr int rowsPerBank = 4;
constexpr size_t digitsShown = 3;

std::vector<size_t> cagesOf( const Model &model ) {
    std::vector<size_t> cages;
    for ( size_t i = 0; i < model.items().size(); ++i ) {
        if ( model.items()[i].entry().deviceClass == DeviceClass::xcvr ) {
            cages.push_back( i );
        }
    }
    return cages;
}

size_t cagesPerBank( int columns ) {
    const int fitting = ( columns - labelWidth ) / cageWidth;
    return static_cast<size_t>( fitting ) * cagesAbove;
}

/// "33" of "Ethernet33".
std::string shortNameOf( const std::string &name ) {
    const size_t lastOther = name.find_last_not_of( "0123456789" );
    const std::string digits = lastOther == std::string::npos ? name : name.substr( lastOther + 1 );
    const std::string &shown = digits.empty() ? name : digits;
    return shown.substr( shown.size() - std::min( shown.size(), digitsShown ) );
}

void drawName( Canvas &canvas, int row, int column, const Item &cage, Style style ) {
    const std::string name = shortNameOf( cage.entry().name );
    const auto width = static_cast<int>( name.size() );
    canvas.put( row, column + ( width < 3 ? 1 : 0 ) + ( width < 2 ? 1 : 0 ), name, style );
}

struct SignalRow {
    const char *key;
    char letter;
    Tint tint;
};

constexpr SignalRow urgent[] = {
    { "reset", 'R', Tint::warning },      { "tx_fault", 'F', Tint::trouble },
    { "tx_disable", 'D', Tint::warning }, { "rx_los", 'L', Tint::warning },
    { "interrupt", '!', Tint::warning },
};

} // namespace

Glyph cageGlyph( const Item &cage, const Look &look ) {
    if ( cage.state == State::failed ) {
        return { U'?', { Tint::trouble, true } };
    }
    if ( !cage.wasRead ) {
        return { U' ', {} };
    }
    if ( !cage.isOn( "present" ) ) {
        return { characterOf( Mark::cage, look ), { Tint::dim } };
    }
    for ( const SignalRow &row : urgent ) {
        if ( cage.isOn( row.key ) ) {
            return { static_cast<char32_t>( row.letter ), { row.tint, true } };
        }
    }
    return { characterOf( Mark::module, look ), { Tint::good } };
}

int portPanelRows( const Model &model, int columns ) {
    const size_t cages = cagesOf( model ).size();
    const size_t perBank = cagesPerBank( columns );
    return static_cast<int>( ( cages + perBank - 1 ) / perBank ) * rowsPerBank;
}

int drawPortPanel( Canvas &canvas, int row, const Model &model, const View &view,
                   const Surroundings &around ) {
    const std::vector<size_t> cages = cagesOf( model );
    const size_t perBank = cagesPerBank( canvas.size().columns );
    for ( size_t i = 0; i < cages.size(); ++i ) {
        const Item &cage = model.items()[cages[i]];
        const int top = row + static_cast<int>( i / perBank ) * rowsPerBank;
        const bool isBelow = i % cagesAbove == 1;
        const int column =
            labelWidth + static_cast<int>( i % perBank / size_t{ cagesAbove } ) * cageWidth;
        const bool isSelected = view.selected == cages[i];
        const bool isFresh = hasJustChanged( cage, around.now );
        drawName( canvas, top + ( isBelow ? 3 : 0 ), column, cage,
                  { isFresh ? Tint::plain : Tint::dim, isFresh, isSelected } );
        const int line = top + ( isBelow ? 2 : 1 );
        Glyph inside = cageGlyph( cage, around.look );
        inside.style.reverse = isFresh;
        canvas.put( line, column + 1, inside.character, inside.style );
        if ( cage.lamp ) {
            const Glyph lamp = lampGlyph( model.items()[*cage.lamp], model, around.look );
            canvas.put( line, column + 2, lamp.character, lamp.style );
        }
        if ( isSelected ) {
            canvas.put( line, column, U'[', { Tint::plain, true } );
            canvas.put( line, column + 3, U']', { Tint::plain, true } );
        }
    }
    if ( !cages.empty() ) {
        canvas.put( row + 1, 1, "Ports", { Tint::plain, true } );
    }
    return row + portPanelRows( model, canvas.size().columns );
}

} // namespace HostTool::Watch
