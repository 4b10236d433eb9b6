#include "HostTool/Watch/Interaction.h"

#include "HostTool/Watch/Selection.h"

#include <algorithm>
#include <charconv>

namespace HostTool::Watch {

namespace {

constexpr int fullPercent = 100;
// Below this a switch under load may get too hot.
constexpr int safePercent = 30;
constexpr size_t longestSpeed = 6;

using Answer = std::optional<Command>;

Answer complain( View &view, const std::string &text ) {
    view.message = text;
    view.isTrouble = true;
    return std::nullopt;
}

Answer ask( View &view, Mode mode, size_t target, const std::string &question ) {
    view.mode = mode;
    view.target = target;
    view.question = question;
    view.typed.clear();
    return std::nullopt;
}

Answer askToConfirm( View &view, const Command &command, const std::string &question ) {
    view.pending = command;
    return ask( view, Mode::confirm, command.item, question + " y/n" );
}

Answer leave( View &view ) {
    view.mode = Mode::browse;
    view.pending.reset();
    view.typed.clear();
    return std::nullopt;
}

/// The reason why the device cannot be told so, put where it is seen.
bool isRefused( View &view, const Model &model, size_t item, Setting setting ) {
    const std::string reason = whyNot( model.items()[item].device, setting );
    if ( !reason.empty() ) {
        complain( view, reason );
    }
    return !reason.empty();
}

Answer startSpeed( View &view, const Model &model ) {
    if ( isRefused( view, model, view.selected, Setting::fanSpeed ) ) {
        return std::nullopt;
    }
    return ask( view, Mode::askSpeed, view.selected,
                "Speed of " + model.items()[view.selected].entry().name + ", in rpm or %:" );
}

Answer startLight( View &view, const Model &model ) {
    const Item &selected = model.items()[view.selected];
    const size_t lamp = selected.lamp.value_or( view.selected );
    if ( selected.entry().deviceClass == DeviceClass::xcvr && !selected.lamp ) {
        return complain( view, "'" + selected.entry().name + "' has no lamp in devices.json" );
    }
    if ( isRefused( view, model, lamp, Setting::light ) ) {
        return std::nullopt;
    }
    return ask( view, Mode::askLight, lamp,
                model.items()[lamp].entry().name +
                    ": o off g good w warning b bad i inactive u unknown n beacon" );
}

Answer startReset( View &view, const Model &model ) {
    if ( isRefused( view, model, view.selected, Setting::reset ) ) {
        return std::nullopt;
    }
    const Item &cage = model.items()[view.selected];
    if ( cage.isOn( "reset" ) ) {
        return Command{ view.selected, { Setting::reset, 0 } };
    }
    return askToConfirm( view, { view.selected, { Setting::reset, 1 } },
                         "Hold the module of " + cage.entry().name + " in reset?" );
}

Answer startTransmitter( View &view, const Model &model ) {
    if ( isRefused( view, model, view.selected, Setting::txDisable ) ) {
        return std::nullopt;
    }
    const Item &cage = model.items()[view.selected];
    if ( cage.isOn( "tx_disable" ) ) {
        return Command{ view.selected, { Setting::txDisable, 0 } };
    }
    return askToConfirm( view, { view.selected, { Setting::txDisable, 1 } },
                         "Switch the transmitter of " + cage.entry().name + " off?" );
}

Answer startLine( View &view, const Model &model ) {
    if ( isRefused( view, model, view.selected, Setting::line ) ) {
        return std::nullopt;
    }
    const Item &line = model.items()[view.selected];
    const Reading::Value *value = line.value( "value" );
    const int *bit = value ? std::get_if<int>( value ) : nullptr;
    const int next = bit && *bit != 0 ? 0 : 1;
    return askToConfirm( view, { view.selected, { Setting::line, next } },
                         "Set " + line.entry().name + " to " + std::to_string( next ) + "?" );
}

Answer startHelp( View &view, const Model & ) {
    return ask( view, Mode::help, view.selected, "" );
}

Answer quit( View &view, const Model & ) {
    view.isOver = true;
    return std::nullopt;
}

struct LetterRow {
    char letter;
    Answer ( *run )( View &view, const Model &model );
};

constexpr LetterRow letters[] = {
    { 'f', startSpeed }, { 'l', startLight }, { 'r', startReset }, { 't', startTransmitter },
    { 'g', startLine },  { '?', startHelp },  { 'q', quit },
};

Answer browse( View &view, const Model &model, const Key &key ) {
    view.message.clear();
    view.isTrouble = false;
    if ( key.code != KeyCode::character ) {
        view.selected = moved( model, view.selected, key.code );
        return std::nullopt;
    }
    const auto row =
        std::find_if( std::begin( letters ), std::end( letters ),
                      [&]( const LetterRow &each ) { return each.letter == key.character; } );
    if ( row == std::end( letters ) ) {
        return complain( view, "? shows what the keys do" );
    }
    if ( model.items().empty() && row->letter != 'q' ) {
        return std::nullopt;
    }
    return row->run( view, model );
}

/// The speed that was typed, in revolutions per minute; nothing when it makes no sense.
std::optional<int> typedSpeed( const std::string &typed, const std::optional<int> &fullSpeed ) {
    const bool isPercent = typed.ends_with( '%' );
    int number = 0;
    const char *end = typed.data() + typed.size() - ( isPercent ? 1 : 0 );
    const auto [stop, error] = std::from_chars( typed.data(), end, number );
    if ( error != std::errc() || stop != end || number < 0 ) {
        return std::nullopt;
    }
    if ( isPercent ) {
        if ( !fullSpeed || number > fullPercent ) {
            return std::nullopt;
        }
        number = static_cast<int>( static_cast<long long>( *fullSpeed ) * number / fullPercent );
    }
    return fullSpeed && number > *fullSpeed ? std::nullopt : std::optional( number );
}

Answer takeSpeed( View &view, const Model &model ) {
    const Item &fan = model.items()[view.target];
    const std::optional<int> speed = typedSpeed( view.typed, fan.fullSpeed );
    const std::string typed = view.typed;
    leave( view );
    if ( !speed ) {
        const std::string limit =
            fan.fullSpeed ? "0 to " + std::to_string( *fan.fullSpeed ) + " rpm or 0% to 100%"
                          : "rpm: its full speed is not known";
        return complain( view,
                         "'" + typed + "' is no speed of " + fan.entry().name + ": " + limit );
    }
    const Command command = { view.target, { Setting::fanSpeed, *speed } };
    const bool isSafe = fan.fullSpeed && static_cast<long long>( *speed ) * fullPercent >=
                                             static_cast<long long>( *fan.fullSpeed ) * safePercent;
    if ( isSafe ) {
        return command;
    }
    const std::string speedText = textOf( command.order );
    return askToConfirm( view, command,
                         fan.entry().name + ": " +
                             ( fan.fullSpeed ? "only " + speedText + "?"
                                             : speedText + "? Its full speed is not known." ) );
}

Answer answerSpeed( View &view, const Model &model, const Key &key ) {
    if ( key.code == KeyCode::enter ) {
        return takeSpeed( view, model );
    }
    if ( key.code == KeyCode::backspace && !view.typed.empty() ) {
        view.typed.pop_back();
    }
    const bool isPart =
        key.code == KeyCode::character &&
        ( ( key.character >= '0' && key.character <= '9' ) || key.character == '%' );
    if ( isPart && view.typed.size() < longestSpeed ) {
        view.typed += key.character;
    }
    return std::nullopt;
}

Answer answerLight( View &view, const Model &, const Key &key ) {
    constexpr std::string_view settings = "ogwbiun"; // in the order of pl_led_status
    const size_t setting =
        key.code == KeyCode::character ? settings.find( key.character ) : std::string_view::npos;
    const size_t lamp = view.target;
    if ( setting == std::string_view::npos ) {
        return std::nullopt;
    }
    leave( view );
    return Command{ lamp, { Setting::light, static_cast<int>( setting ) } };
}

Answer answerConfirm( View &view, const Model &, const Key &key ) {
    const Answer command = view.pending;
    const bool isYes = key.code == KeyCode::character && key.character == 'y';
    leave( view );
    return isYes ? command : std::nullopt;
}

Answer answerHelp( View &view, const Model &, const Key & ) {
    return leave( view );
}

struct ModeRow {
    Mode mode;
    Answer ( *press )( View &view, const Model &model, const Key &key );
};

constexpr ModeRow modes[] = {
    { Mode::browse, browse },         { Mode::help, answerHelp },
    { Mode::askSpeed, answerSpeed },  { Mode::askLight, answerLight },
    { Mode::confirm, answerConfirm },
};

} // namespace

std::optional<Command> press( View &view, const Model &model, const Key &key ) {
    if ( key.code == KeyCode::escape ) {
        view.message.clear();
        return leave( view );
    }
    return std::find_if( std::begin( modes ), std::end( modes ),
                         [&]( const ModeRow &each ) { return each.mode == view.mode; } )
        ->press( view, model, key );
}

void report( View &view, const std::string &device, const Order &order, const Outcome &outcome ) {
    view.isTrouble = !outcome.isFine();
    view.message = device + ": " + textOf( order );
    if ( view.isTrouble ) {
        view.message += ": " + nameOf( outcome.status ) + ": " + outcome.reason;
    }
}

} // namespace HostTool::Watch
