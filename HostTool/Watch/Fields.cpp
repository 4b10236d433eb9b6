#include "HostTool/Watch/Fields.h"

#include "HostTool/Output/ValueText.h"
#include "HostTool/Set/Setting.h"

#include <algorithm>
#include <array>
#include <string_view>

namespace HostTool::Watch {

using namespace std::chrono_literals;

namespace {

constexpr auto newFor = 3s; // a change
constexpr auto oldAfter = 5s;
constexpr long long secondsPerMinute = 60;
constexpr long long secondsPerHour = 3600;
constexpr int fullPercent = 100;

using Texts = std::vector<std::string>;

struct ShortName {
    std::string_view longName;
    std::string_view shortName;
};

// The unit behind the value tells voltage, current and power apart.
constexpr ShortName shortNames[] = {
    { "input_voltage", "in" },   { "input_current", "in" },   { "input_power", "in" },
    { "output_voltage", "out" }, { "output_current", "out" }, { "output_power", "out" },
};

std::string shortNameOf( std::string_view key ) {
    const auto row = std::find_if( std::begin( shortNames ), std::end( shortNames ),
                                   [=]( const ShortName &each ) { return each.longName == key; } );
    return std::string( row == std::end( shortNames ) ? key : row->shortName );
}

std::string lastGoodText( const Sample &sample, const Column &column ) {
    return "was " + oneLine( valueText( sample.lastGood, column ) );
}

bool isFailure( const Reading &reading ) {
    return !reading.hasValue() && reading.status != PL_STATUS_NOT_SUPPORTED &&
           reading.status != PL_STATUS_OK;
}

/// "6 s old" behind values that are.
void appendAge( Texts &texts, const Item &item, Moment now ) {
    const auto old =
        std::find_if( item.samples.begin(), item.samples.end(), [=]( const Sample &each ) {
            return each.reading.hasValue() && now - each.lastGoodAt > oldAfter;
        } );
    if ( old != item.samples.end() ) {
        texts.push_back( ageText( old->lastGoodAt, now ) + " old" );
    }
}

const Column &columnOf( const Item &item, size_t i ) {
    return item.device.row->columns[i];
}

Texts fieldsOfFailure( const Item &item, Moment now ) {
    if ( !item.device.record ) {
        return { nameOf( item.state ), item.device.refusal };
    }
    for ( size_t i = 0; i < item.samples.size(); ++i ) {
        const Sample &sample = item.samples[i];
        // What is not there is no failure: another reading is why the device failed.
        if ( !isFailure( sample.reading ) || sample.reading.status == PL_STATUS_NOT_PRESENT ) {
            continue;
        }
        if ( !sample.lastGood.hasValue() ) {
            return { nameOf( item.state ), whyNoValue( sample.reading ) };
        }
        return { nameOf( item.state ), ageText( sample.lastGoodAt, now ),
                 lastGoodText( sample, columnOf( item, i ) ), whyNoValue( sample.reading ) };
    }
    return { nameOf( item.state ) };
}

/// The values in these columns, in their order.
Texts valuesOf( const Item &item, const std::vector<std::string_view> &keys ) {
    Texts texts;
    const auto append = [&]( size_t i ) {
        const Reading &reading = item.samples[i].reading;
        if ( !columnOf( item, i ).isDescription && reading.hasValue() ) {
            texts.push_back( oneLine( valueText( reading, columnOf( item, i ) ) ) );
        }
    };
    for ( const std::string_view key : keys ) {
        for ( size_t i = 0; i < item.samples.size(); ++i ) {
            if ( key == columnOf( item, i ).key ) {
                append( i );
            }
        }
    }
    return texts;
}

Texts lampFields( const Item &item ) {
    if ( !item.light ) {
        return { "--" };
    }
    return { lightNames()[static_cast<size_t>( *item.light )] };
}

Texts slotFields( const Item &item ) {
    Texts texts = valuesOf( item, { "model", "serial" } );
    if ( texts.empty() ) {
        texts.emplace_back( "present" );
    }
    return texts;
}

struct WeightRow {
    DeviceClass deviceClass;
    std::vector<std::string_view> keys;
};

const WeightRow weights[] = {
    { DeviceClass::tempSensor, { "temperature" } },
    { DeviceClass::fan, { "speed" } },
    { DeviceClass::psu,
      { "output_power", "output_voltage", "output_current", "input_power", "input_voltage",
        "input_current" } },
    { DeviceClass::gpio, { "value" } },
    { DeviceClass::system, { "reload_cause", "reload_detail" } },
};

Texts fieldsOfClass( const Item &item ) {
    const DeviceClass deviceClass = item.entry().deviceClass;
    if ( deviceClass == DeviceClass::led ) {
        return lampFields( item );
    }
    if ( deviceClass == DeviceClass::slot ) {
        return slotFields( item );
    }
    const auto row =
        std::find_if( std::begin( weights ), std::end( weights ),
                      [=]( const WeightRow &each ) { return each.deviceClass == deviceClass; } );
    return row == std::end( weights ) ? Texts() : valuesOf( item, row->keys );
}

struct LightRow {
    char letter;
    Tint tint;
};

// In the order of pl_led_status.
constexpr std::array<LightRow, 7> lights = { {
    { 'o', Tint::dim },
    { 'g', Tint::good },
    { 'w', Tint::warning },
    { 'b', Tint::trouble },
    { 'i', Tint::dim },
    { 'u', Tint::dim },
    { 'n', Tint::beacon },
} };

} // namespace

std::string oneLine( std::string text ) {
    std::replace( text.begin(), text.end(), '\n', ' ' );
    return text;
}

std::string ageText( Moment since, Moment now ) {
    const long long seconds =
        std::chrono::duration_cast<std::chrono::seconds>( now - since ).count();
    if ( seconds < secondsPerMinute ) {
        return std::to_string( seconds ) + " s";
    }
    if ( seconds < secondsPerHour ) {
        return std::to_string( seconds / secondsPerMinute ) + " min";
    }
    return std::to_string( seconds / secondsPerHour ) + " h";
}

std::vector<std::string> fieldsOf( const Item &item, Moment now ) {
    if ( item.state == State::failed ) {
        return fieldsOfFailure( item, now );
    }
    if ( item.state == State::absent ) {
        return { nameOf( item.state ) };
    }
    if ( !item.wasRead ) {
        return { "unread" };
    }
    Texts texts = fieldsOfClass( item );
    if ( isTrouble( item.state ) ) {
        texts.insert( texts.begin() + ( texts.empty() ? 0 : 1 ), nameOf( item.state ) );
    }
    if ( texts.empty() ) {
        texts.emplace_back( nameOf( item.state ) );
    }
    appendAge( texts, item, now );
    return texts;
}

std::vector<std::string> readingsOf( const Item &item, Moment now ) {
    Texts texts;
    std::optional<Moment> polledAt;
    for ( size_t i = 0; i < item.samples.size(); ++i ) {
        const Sample &sample = item.samples[i];
        const Column &column = columnOf( item, i );
        polledAt = std::max( polledAt, sample.reading.polledAt );
        if ( column.isDescription || sample.reading.status == PL_STATUS_NOT_SUPPORTED ) {
            continue;
        }
        std::string text = shortNameOf( column.key ) + " ";
        if ( sample.reading.hasValue() ) {
            text += oneLine( valueText( sample.reading, column ) );
        } else if ( !isFailure( sample.reading ) ) {
            text += valueText( sample.reading, column );
        } else {
            text += !sample.lastGood.hasValue()
                        ? "failed"
                        : "failed, " + lastGoodText( sample, column ) + " " +
                              ageText( sample.lastGoodAt, now ) + " ago";
        }
        texts.push_back( text );
    }
    if ( polledAt && now - *polledAt <= oldAfter ) {
        const std::chrono::duration<double> age = now - *polledAt;
        texts.push_back( "polled " + numberText( age.count(), 1, "s" ) + " ago" );
    }
    appendAge( texts, item, now );
    return texts;
}

Tint tintOf( State state ) {
    if ( !isTrouble( state ) ) {
        return state == State::absent ? Tint::dim : Tint::plain;
    }
    return state == State::alert ? Tint::warning : Tint::trouble;
}

bool hasJustChanged( const Item &item, Moment now ) {
    const auto isFresh = [&]( const std::optional<Moment> &at ) {
        return at && now - *at < newFor;
    };
    return isFresh( item.stateChangedAt ) ||
           std::any_of( item.samples.begin(), item.samples.end(),
                        [&]( const Sample &each ) { return isFresh( each.changedAt ); } );
}

std::optional<int> percentOf( const Item &fan ) {
    const Reading::Value *value = fan.value( "speed" );
    const int *speed = value ? std::get_if<int>( value ) : nullptr;
    if ( !speed || !fan.fullSpeed ) {
        return std::nullopt;
    }
    const long long percent = static_cast<long long>( *speed ) * fullPercent / *fan.fullSpeed;
    return static_cast<int>( std::clamp<long long>( percent, 0, fullPercent ) );
}

Glyph lampGlyph( const Item &lamp, const Model &model, const Look &look ) {
    if ( !lamp.light ) {
        return {};
    }
    const LightRow &row = lights[static_cast<size_t>( *lamp.light )];
    const bool isDark =
        row.tint == Tint::dim || ( *lamp.light == PL_LED_BEACON && !model.isLit( lamp ) );
    if ( isDark ) {
        return { characterOf( Mark::lampDark, look ), { Tint::dim } };
    }
    const char32_t lit = look.colour
                             ? characterOf( Mark::lampLit, look )
                             : static_cast<char32_t>( static_cast<unsigned char>( row.letter ) );
    return { lit, { row.tint, true } };
}

} // namespace HostTool::Watch
