#include "HostTool/Watch/DeviceColumns.h"

#include "HostTool/Watch/Fields.h"

#include <algorithm>
#include <iterator>
#include <optional>
#include <vector>

namespace HostTool::Watch {

namespace {

constexpr int narrowest = 26;
constexpr int widest = 100;
constexpr int gap = 1;
constexpr int margin = 2; // the selection and the mark of a change
constexpr int valueWidth = 10;
constexpr int shortestBar = 3;
constexpr int longestBar = 20;
constexpr int fullPercent = 100;

struct Heading {
    DeviceClass deviceClass;
    const char *text;
};

constexpr Heading headings[] = {
    { DeviceClass::tempSensor, "Temperatures" },
    { DeviceClass::fan, "Fans" },
    { DeviceClass::psu, "Supplies" },
    { DeviceClass::slot, "Slots" },
    { DeviceClass::led, "Lamps" },
    { DeviceClass::gpio, "Lines" },
    { DeviceClass::system, "System" },
    { DeviceClass::smbus, "Raw chips" },
};

/// A heading, or a device.
struct Line {
    const char *heading = nullptr;
    size_t item = 0;
};

std::vector<Line> linesOf( const Model &model ) {
    std::vector<Line> lines;
    for ( const Heading &heading : headings ) {
        bool isFirst = true;
        for ( size_t i = 0; i < model.items().size(); ++i ) {
            const Item &item = model.items()[i];
            if ( item.entry().deviceClass != heading.deviceClass || !item.isWorthALine() ) {
                continue;
            }
            if ( isFirst ) {
                lines.push_back( { heading.text, i } );
                isFirst = false;
            }
            lines.push_back( { nullptr, i } );
        }
    }
    return lines;
}

int columnsFor( size_t lines, int rows, int width ) {
    const int most = std::max( 1, width / narrowest );
    const int least = std::max( 1, width / widest );
    for ( int columns = least; columns < most; ++columns ) {
        if ( lines <= static_cast<size_t>( columns ) * static_cast<size_t>( rows ) ) {
            return columns;
        }
    }
    return most;
}

/// Where one line goes.
struct Place {
    int row;
    int column;
    int width;
};

/// Wide enough for the names of one class.
int nameWidth( const Model &model, DeviceClass deviceClass, int width ) {
    size_t longest = 0;
    for ( const Item &each : model.items() ) {
        if ( each.entry().deviceClass == deviceClass ) {
            longest = std::max( longest, each.entry().name.size() );
        }
    }
    return std::min( static_cast<int>( longest ), width - margin - gap - valueWidth );
}

void drawBar( Canvas &canvas, int row, int column, int width, int percent, const Look &look ) {
    const int full = ( percent * width + fullPercent / 2 ) / fullPercent;
    for ( int i = 0; i < width; ++i ) {
        const bool isFull = i < full;
        canvas.put( row, column + i, characterOf( isFull ? Mark::barFull : Mark::barEmpty, look ),
                    { isFull ? Tint::good : Tint::dim } );
    }
}

/// As many fields as there is room for, the last of them cut off when it begins well before the
/// end.
void drawFields( Canvas &canvas, int row, int column, int end,
                 const std::vector<std::string> &fields, Style style ) {
    constexpr int worthCutting = 8;
    for ( const std::string &field : fields ) {
        const int room = end - column;
        if ( field.empty() ) {
            continue;
        }
        if ( static_cast<int>( field.size() ) > room && room < worthCutting ) {
            return;
        }
        column = canvas.put( row, column, field, style, room ) + 2;
    }
}

/// @return the column behind it
int drawName( Canvas &canvas, Place place, const Model &model, const Item &item, bool isSelected,
              bool isFresh ) {
    const bool isBad = isTrouble( item.state );
    if ( isSelected ) {
        canvas.put( place.row, place.column, U'>', { Tint::plain, true } );
    }
    if ( isFresh || isBad ) {
        canvas.put( place.row, place.column + 1, isBad ? U'!' : U'*',
                    { tintOf( item.state ), isFresh } );
    }
    const int width = nameWidth( model, item.entry().deviceClass, place.width );
    canvas.put( place.row, place.column + margin, item.entry().name,
                { Tint::plain, isSelected, isSelected }, width );
    return place.column + margin + width + gap;
}

/// Numbers stand with their ends below each other.
void alignNumber( std::string &field ) {
    constexpr size_t width = valueWidth - gap;
    field.insert( 0, width - std::min( width, field.size() ), ' ' );
}

bool showsNumber( const Item &item ) {
    const DeviceClass deviceClass = item.entry().deviceClass;
    return item.state != State::failed && item.state != State::absent &&
           deviceClass != DeviceClass::slot && deviceClass != DeviceClass::led;
}

void drawDevice( Canvas &canvas, Place place, const Model &model, size_t index, const View &view,
                 const Surroundings &around ) {
    const Item &item = model.items()[index];
    const bool isFresh = hasJustChanged( item, around.now );
    int column = drawName( canvas, place, model, item, view.selected == index, isFresh );
    const int end = place.column + place.width - gap;
    std::vector<std::string> fields = fieldsOf( item, around.now );
    if ( showsNumber( item ) ) {
        alignNumber( fields.front() );
    }
    if ( item.entry().deviceClass == DeviceClass::led ) {
        const Glyph lamp = lampGlyph( item, model, around.look );
        canvas.put( place.row, column, lamp.character, lamp.style );
        column += 2;
    }
    const std::optional<int> percent = percentOf( item );
    const int bar = std::min( end - column - valueWidth, longestBar );
    if ( percent && bar >= shortestBar ) {
        drawBar( canvas, place.row, column + valueWidth, bar, *percent, around.look );
        fields.resize( 1 );
    }
    drawFields( canvas, place.row, column, end, fields, { tintOf( item.state ), isFresh } );
}

} // namespace

Pages drawDeviceColumns( Canvas &canvas, int firstRow, int rows, const Model &model,
                         const View &view, const Surroundings &around ) {
    const std::vector<Line> lines = linesOf( model );
    const int columns = columnsFor( lines.size(), rows, canvas.size().columns );
    const int width = canvas.size().columns / columns;
    const size_t perPage = static_cast<size_t>( columns ) * static_cast<size_t>( rows );
    const auto selected = std::find_if( lines.begin(), lines.end(), [&]( const Line &each ) {
        return !each.heading && each.item == view.selected;
    } );
    const size_t at = selected == lines.end() ? 0 : static_cast<size_t>( selected - lines.begin() );
    const size_t first = at / perPage * perPage;
    for ( size_t i = first; i < std::min( first + perPage, lines.size() ); ++i ) {
        const auto inPage = static_cast<int>( i - first );
        const Place place = { firstRow + inPage % rows, inPage / rows * width, width };
        if ( lines[i].heading ) {
            canvas.put( place.row, place.column + 1, lines[i].heading, { Tint::plain, true } );
        } else {
            drawDevice( canvas, place, model, lines[i].item, view, around );
        }
    }
    return { first / perPage + 1, ( lines.size() + perPage - 1 ) / perPage };
}

} // namespace HostTool::Watch
