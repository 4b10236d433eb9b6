#include "HostTool/Watch/Layout.h"

#include "HostTool/Output/ValueText.h"
#include "HostTool/Watch/DeviceColumns.h"
#include "HostTool/Watch/Fields.h"
#include "HostTool/Watch/PortPanel.h"

#include <algorithm>

namespace HostTool::Watch {

namespace {

constexpr int titleRows = 1;
// The selected device, two rows of its readings, the latest change, and what the keys do.
constexpr int footRows = 5;
constexpr Style bold = { Tint::plain, true };

constexpr const char *keysText =
    "q quit  ? help  arrows Tab  f fan  l lamp  r reset  t transmitter  g line";

constexpr const char *helpLines[] = {
    "arrows              another device; left and right go two ports further",
    "Tab, Shift-Tab      the next class of devices, the one before",
    "Home, End           the first device, the last",
    "f                   set the speed of a fan, in rpm or in percent: 60%",
    "l                   set a lamp, also that of the selected port",
    "r                   hold a QSFP module in reset, or let it go",
    "t                   switch the transmitter of an SFP module off, or on",
    "g                   set or clear a line",
    "q                   quit",
    "",
    "What could interrupt traffic or cooling is asked about first.",
    "",
    "Ports:  R in reset  F fault  D transmitter off  L no signal  ! interrupt",
    "Lines:  > selected  * has just changed  ! in trouble",
    "Lamps cannot be read: what is shown is what they were told from here.",
};

void drawTooSmall( Canvas &canvas ) {
    const Size size = canvas.size();
    canvas.put( 0, 0,
                "The screen is too small: " + std::to_string( size.columns ) + "x" +
                    std::to_string( size.rows ) );
    canvas.put( 1, 0,
                "It takes " + std::to_string( smallestSize.columns ) + "x" +
                    std::to_string( smallestSize.rows ) + ". q quits." );
}

void drawTitle( Canvas &canvas, const Model &model, const Surroundings &around ) {
    const std::string lost = model.serverLostAt()
                                 ? "no server for " + ageText( *model.serverLostAt(), around.now ) +
                                       ": " + model.serverReason()
                                 : "";
    const size_t troubles = model.troubles();
    const std::string state = !lost.empty() ? lost
                              : troubles == 0
                                  ? "all well"
                                  : std::to_string( troubles ) +
                                        ( troubles == 1 ? " device" : " devices" ) + " in trouble";
    const bool isTrouble = !lost.empty() || troubles > 0;
    canvas.put( 0, 1, around.board + "  " + state );
    canvas.put( 0, canvas.size().columns - static_cast<int>( around.clock.size() ) - 1,
                around.clock );
    canvas.tintRow( 0, { isTrouble ? Tint::trouble : Tint::plain, true, true } );
}

void drawPages( Canvas &canvas, const Pages &pages ) {
    constexpr int fromTheRight = 30;
    canvas.put( 0, canvas.size().columns - fromTheRight,
                "page " + std::to_string( pages.shown ) + " of " + std::to_string( pages.count ),
                canvas.at( 0, 0 ).style );
}

void drawHelp( Canvas &canvas ) {
    canvas.put( 0, 1, "kavractl watch: any key goes back" );
    canvas.tintRow( 0, { Tint::plain, true, true } );
    int row = 2;
    for ( const char *line : helpLines ) {
        canvas.put( row++, 2, line );
    }
}

std::string degrees( float celsius ) {
    constexpr int decimals = 1;
    return numberText( static_cast<double>( celsius ), decimals, "C" );
}

std::string headOf( const Item &item ) {
    const Entry &entry = item.entry();
    std::string text = std::string( nameOf( entry.deviceClass ) );
    if ( !entry.driver.empty() ) {
        text += "  " + entry.driver;
    }
    if ( entry.did ) {
        text += "  did " + std::to_string( *entry.did );
    }
    if ( const auto &limits = entry.thresholds ) {
        text += "  alert " + degrees( limits->alert ) + "  critical " + degrees( limits->critical );
    }
    if ( item.fullSpeed ) {
        text += "  full speed " + std::to_string( *item.fullSpeed ) + " rpm";
    }
    return text;
}

/// The reason why a value is missing, or the readings, in at most two rows.
void drawReadings( Canvas &canvas, int row, const Item &item, const Surroundings &around ) {
    constexpr int firstColumn = 3;
    const int end = canvas.size().columns - 1;
    const int lastRow = row + 1;
    if ( item.state == State::failed ) {
        const std::vector<std::string> fields = fieldsOf( item, around.now );
        canvas.put( row++, firstColumn, fields.back(), { Tint::trouble }, end - firstColumn );
    }
    int column = firstColumn;
    for ( const std::string &text : readingsOf( item, around.now ) ) {
        if ( column > firstColumn && column + static_cast<int>( text.size() ) > end ) {
            ++row;
            column = firstColumn;
        }
        if ( row > lastRow ) {
            return;
        }
        column = canvas.put( row, column, text, {}, end - column ) + 2;
    }
}

void drawSelected( Canvas &canvas, int row, const Model &model, const View &view,
                   const Surroundings &around ) {
    const Item &item = model.items()[view.selected];
    int column = canvas.put( row, 1, item.entry().name, bold ) + 2;
    column = canvas.put( row, column, nameOf( item.state ), { tintOf( item.state ), true } ) + 2;
    if ( item.lamp ) {
        const Item &lamp = model.items()[*item.lamp];
        column = canvas.put( row, column, "lamp " + fieldsOf( lamp, around.now ).front() ) + 2;
    }
    canvas.put( row, column, headOf( item ), { Tint::dim } );
    drawReadings( canvas, row + 1, item, around );
}

void drawFoot( Canvas &canvas, const Model &model, const View &view, const Surroundings &around ) {
    const int last = canvas.size().rows - 1;
    drawSelected( canvas, last - footRows + 1, model, view, around );
    canvas.put( last - 1, 1, around.lastEvent, { Tint::dim } );
    if ( view.mode != Mode::browse ) {
        const int column = canvas.put( last, 1, view.question, bold ) + 1;
        canvas.put( last, column, view.typed + "_" );
    } else if ( !view.message.empty() ) {
        canvas.put( last, 1, view.message,
                    { view.isTrouble ? Tint::trouble : Tint::good, view.isTrouble } );
    } else {
        canvas.put( last, 1, keysText, { Tint::dim } );
    }
}

} // namespace

Canvas layOut( const Model &model, const View &view, const Surroundings &around, Size size ) {
    Canvas canvas( size );
    if ( size.rows < smallestSize.rows || size.columns < smallestSize.columns ) {
        drawTooSmall( canvas );
        return canvas;
    }
    if ( view.mode == Mode::help ) {
        drawHelp( canvas );
        return canvas;
    }
    drawTitle( canvas, model, around );
    if ( model.items().empty() ) {
        canvas.put( 2, 1, "devices.json describes no devices." );
        return canvas;
    }
    const int row = drawPortPanel( canvas, titleRows, model, view, around );
    const int rows = std::max( 1, size.rows - footRows - row );
    const Pages pages = drawDeviceColumns( canvas, row, rows, model, view, around );
    if ( pages.count > 1 ) {
        drawPages( canvas, pages );
    }
    drawFoot( canvas, model, view, around );
    return canvas;
}

} // namespace HostTool::Watch
