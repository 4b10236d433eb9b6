#include "HostTool/Snapshot/Sentences.h"

#include "HostTool/Output/ValueText.h"

#include <algorithm>
#include <cmath>
#include <string_view>

namespace HostTool::Snapshot {

namespace {

constexpr double hundred = 100;

struct GroupRow {
    Group group;
    const char *name;
    const char *heading;
};
constexpr GroupRow groupRows[] = {
    { Group::missing, "missing", "Missing" },  { Group::additional, "additional", "Additional" },
    { Group::part, "part", "Other parts" },    { Group::state, "state", "State and failures" },
    { Group::setting, "setting", "Settings" }, { Group::value, "value", "Values" },
};

const GroupRow &rowOf( Group group ) {
    return *std::find_if( std::begin( groupRows ), std::end( groupRows ),
                          [=]( const GroupRow &row ) { return row.group == group; } );
}

/// What a signal says when it comes and when it goes; behind the device's name.
struct SignalRow {
    std::string_view key;
    const char *on;
    const char *off;
};
constexpr SignalRow signalRows[] = {
    { "rx_los", " lost its signal", " has a signal again" },
    { "tx_fault", " reports a transmitter fault", " no longer reports a transmitter fault" },
    { "interrupt", " raises an interrupt", " no longer raises an interrupt" },
    { "tx_disable", "'s transmitter is switched off", "'s transmitter is switched on" },
    { "mod_sel", " is selected", " is no longer selected" },
    { "lp_mode", " is in low power mode", " is no longer in low power mode" },
    { "reset", " is held in reset", " is no longer held in reset" },
    { "power_ok", " has good power again", " says that its power is not good" },
};

enum class Amount { inUnit, inDegrees, inPercent };

/// How a number that is higher or lower is put; behind the device's name.
struct NumberRow {
    std::string_view key;
    const char *verb;
    const char *more;
    const char *less;
    Amount amount;
};
constexpr NumberRow numberRows[] = {
    { "temperature", " is ", " warmer", " colder", Amount::inDegrees },
    { "speed", " turns ", " faster", " slower", Amount::inPercent },
    { "input_current", " draws ", " more", " less", Amount::inUnit },
    { "input_power", " draws ", " more", " less", Amount::inUnit },
    { "output_current", " delivers ", " more", " less", Amount::inUnit },
    { "output_power", " delivers ", " more", " less", Amount::inUnit },
};

template <class Row, size_t count>
const Row *find( const Row ( &rows )[count], std::string_view key ) {
    const auto row = std::find_if( std::begin( rows ), std::end( rows ),
                                   [&]( const Row &each ) { return each.key == key; } );
    return row == std::end( rows ) ? nullptr : &*row;
}

struct Spoken {
    const std::string &unit;
    const Tolerances &tolerances;
    std::string operator()( std::monostate ) const { return "--"; }
    std::string operator()( bool value ) const { return value ? "yes" : "no"; }
    std::string operator()( double value ) const {
        const bool isCount = unit.empty() && std::trunc( value ) == value;
        return numberText( value, isCount ? 0 : tolerances.decimalsOf( unit ), unit );
    }
    std::string operator()( const std::string &value ) const { return "'" + value + "'"; }
};

std::string amountOf( const Record &record, double difference, double golden, Amount amount,
                      const Tolerances &tolerances ) {
    switch ( amount ) {
    case Amount::inDegrees:
        return numberText( difference, tolerances.decimalsOf( record.unit ), "degrees" );
    case Amount::inPercent: {
        const double percent = difference / std::abs( golden ) * hundred;
        return numberText( percent, percent < 1 ? 1 : 0, "%" );
    }
    case Amount::inUnit:
        break;
    }
    return numberText( difference, tolerances.decimalsOf( record.unit ), record.unit );
}

std::string spokenNumbers( const std::string &device, const std::string &key, const Record &golden,
                           const Record &now, const Tolerances &tolerances ) {
    const double before = std::get<double>( golden.value );
    const double after = std::get<double>( now.value );
    const std::string both =
        " (" + spoken( now, tolerances ) + ", was " + spoken( golden, tolerances ) + ")";
    if ( key == "speed" && after == 0 ) {
        return device + " stands still" + both;
    }
    if ( key == "speed" && before == 0 ) {
        return device + " turns, and stood still" + both;
    }
    const double difference = std::abs( after - before );
    if ( const NumberRow *row = find( numberRows, key ) ) {
        return device + row->verb + amountOf( now, difference, before, row->amount, tolerances ) +
               ( after > before ? row->more : row->less ) + both;
    }
    return device + "'s " + spokenKey( key ) + " is " +
           amountOf( now, difference, before, Amount::inUnit, tolerances ) +
           ( after > before ? " higher" : " lower" ) + both;
}

/// The first line that differs: a description has many.
std::pair<std::string, std::string> firstOtherLine( const std::string &golden,
                                                    const std::string &now ) {
    const auto lineAt = []( const std::string &text, size_t start ) {
        return start >= text.size() ? "" : text.substr( start, text.find( '\n', start ) - start );
    };
    const auto other = std::mismatch( golden.begin(), golden.end(), now.begin(), now.end() ).first;
    const auto same = static_cast<size_t>( other - golden.begin() );
    const size_t start = same == 0 ? 0 : golden.rfind( '\n', same - 1 ) + 1; // npos + 1 is 0
    return { lineAt( golden, start ), lineAt( now, start ) };
}

std::string spokenTexts( const std::string &device, const std::string &key, const Record &golden,
                         const Record &now ) {
    const auto [before, after] =
        firstOtherLine( std::get<std::string>( golden.value ), std::get<std::string>( now.value ) );
    return device + "'s " + spokenKey( key ) + " is '" + after + "', was '" + before + "'";
}

} // namespace

const char *nameOf( Group group ) {
    return rowOf( group ).name;
}

const char *headingOf( Group group ) {
    return rowOf( group ).heading;
}

std::string spoken( const Record &record, const Tolerances &tolerances ) {
    return std::visit( Spoken{ record.unit, tolerances }, record.value );
}

std::string spokenKey( const std::string &key ) {
    std::string words = key;
    std::replace( words.begin(), words.end(), '_', ' ' );
    return words;
}

std::string spokenList( const std::vector<std::string> &words ) {
    std::string text;
    for ( size_t i = 0; i < words.size(); ++i ) {
        const bool isLast = i + 1 == words.size();
        text += ( i == 0 ? "" : isLast ? " and " : ", " ) + words[i];
    }
    return text;
}

std::string spokenChange( const std::string &device, const std::string &key, const Record &golden,
                          const Record &now, const Tolerances &tolerances ) {
    const bool isOneKind = golden.value.index() == now.value.index() && golden.unit == now.unit;
    const SignalRow *signal = find( signalRows, key );
    if ( const bool *isOn = std::get_if<bool>( &now.value ); isOn && isOneKind && signal ) {
        return device + ( *isOn ? signal->on : signal->off );
    }
    if ( isOneKind && !now.unit.empty() && std::holds_alternative<double>( now.value ) ) {
        return spokenNumbers( device, key, golden, now, tolerances );
    }
    if ( isOneKind && std::holds_alternative<std::string>( now.value ) ) {
        return spokenTexts( device, key, golden, now );
    }
    return device + "'s " + spokenKey( key ) + " is " + spoken( now, tolerances ) + ", was " +
           spoken( golden, tolerances );
}

std::string spokenState( const DeviceState &golden, const DeviceState &now,
                         const Tolerances &tolerances ) {
    const bool isAbove = now.state == State::alert || now.state == State::critical;
    if ( isAbove && now.thresholds ) {
        const double limit =
            now.state == State::alert ? now.thresholds->alert : now.thresholds->critical;
        return now.name + " is above its " + nameOf( now.state ) + " threshold of " +
               numberText( limit, tolerances.decimalsOf( "C" ), "C" );
    }
    const bool wasAbove = golden.state == State::alert || golden.state == State::critical;
    if ( wasAbove && now.state == State::ok ) {
        return now.name + " is no longer above its " + nameOf( golden.state ) + " threshold";
    }
    return now.name + " is " + nameOf( now.state ) + ", was " + nameOf( golden.state ) +
           ( now.reason.empty() ? "" : ": " + now.reason );
}

} // namespace HostTool::Snapshot
