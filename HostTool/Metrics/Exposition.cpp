#include "HostTool/Metrics/Exposition.h"

#include "HostTool/Metrics/Families.h"
#include "HostTool/Metrics/Lines.h"
#include "HostTool/Metrics/Route.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <string_view>

namespace HostTool::Metrics {

namespace {

/// A value in digits, with the fewest that give it again.
class Digits {
  public:
    explicit Digits( const Reading::Value &value ) { std::visit( *this, value ); }
    explicit Digits( float value ) { print( value ); }
    explicit Digits( double value ) { print( value ); }

    /// Empty for what is no number.
    std::string_view text() const { return { digits_.data(), length_ }; }

    void operator()( std::monostate ) {}
    void operator()( bool value ) { print( value ? 1 : 0 ); }
    void operator()( int value ) { print( value ); }
    void operator()( float value ) { print( value ); }
    void operator()( const std::string &text ) {
        long long number = 0;
        const char *end = text.data() + text.size();
        const auto [stop, error] = std::from_chars( text.data(), end, number );
        if ( error == std::errc() && stop == end ) {
            print( number );
        }
    }

  private:
    template <class Number>
    void print( Number number ) {
        const char *end =
            std::to_chars( digits_.data(), digits_.data() + digits_.size(), number ).ptr;
        length_ = static_cast<size_t>( end - digits_.data() );
    }

    std::array<char, 32> digits_;
    size_t length_ = 0;
};

bool isFailure( const Reading &reading ) {
    return !reading.hasValue() && reading.status != PL_STATUS_OK &&
           reading.status != PL_STATUS_NOT_SUPPORTED && reading.status != PL_STATUS_NOT_PRESENT;
}

const char *familyName( Own own ) {
    return ownFamilies()[static_cast<size_t>( own )].name;
}

/// A line that was begun, and what it was begun for.
template <class Kind>
struct Start {
    Kind kind{};
    std::string text;
};

struct ColumnLines {
    std::string value;
    std::string age;
    std::string neverRead;
    Start<pl_status> status;
};

} // namespace

struct Exposition::Kept {
    const Entry *entry = nullptr;
    Start<State> state;
    std::string alert;
    std::string critical;
    std::vector<ColumnLines> columns;
    std::vector<Start<std::vector<std::string>>> infos;
};

namespace {

/// The samples of one device, which begin as they did in the pass before.
class DeviceSamples {
  public:
    DeviceSamples( const Device &device, Moment now, std::vector<std::string> &samples )
        : device_( device ), now_( now ), samples_( samples ),
          route_( routeFor( device.row->deviceClass ) ) {}

    void addState( Start<State> &start ) const {
        if ( start.text.empty() || start.kind != device_.state ) {
            start = { device_.state, lineStart( familyName( Own::deviceState ),
                                                labels( { "state", nameOf( device_.state ) } ) ) };
        }
        add( Own::deviceState, start.text, "1" );
    }

    void addThreshold( Own own, std::string &start, float celsius ) const {
        begin( start, familyName( own ), [&] { return deviceAlone(); } );
        add( own, start, Digits( celsius ).text() );
    }

    void addReading( size_t column, ColumnLines &lines ) const {
        const Reading &reading = device_.readings[column];
        if ( isFailure( reading ) ) {
            addStatus( column, lines.status );
            return;
        }
        // The signals of an empty cage are those of open lines.
        if ( device_.state == State::absent && column != route_.presence ) {
            return;
        }
        const Freshness freshness = reading.freshness();
        if ( freshness == Freshness::never ) {
            begin( lines.neverRead, familyName( Own::readingNeverRead ),
                   [&] { return labelsOf( column ); } );
            add( Own::readingNeverRead, lines.neverRead, "1" );
            return;
        }
        const size_t family = route_.familyOfColumn[column];
        const Digits digits( reading.value );
        if ( family == Route::nowhere || digits.text().empty() ) {
            return;
        }
        begin( lines.value, valueFamilies()[family - ownFamilies().size()].name,
               [&] { return deviceAlone(); } );
        add( family, lines.value, digits.text() );
        if ( freshness == Freshness::old ) {
            begin( lines.age, familyName( Own::readingAge ), [&] { return labelsOf( column ); } );
            add( Own::readingAge, lines.age, Digits( ageOf( reading ) ).text() );
        }
    }

    void addInfo( const Route::Info &info, Start<std::vector<std::string>> &start ) const {
        std::vector<std::string> texts;
        for ( const size_t column : info.columns ) {
            const std::string *text =
                column < device_.readings.size()
                    ? std::get_if<std::string>( &device_.readings[column].value )
                    : nullptr;
            texts.push_back( text ? *text : "" );
        }
        if ( std::all_of( texts.begin(), texts.end(),
                          []( const std::string &each ) { return each.empty(); } ) ) {
            return;
        }
        if ( start.text.empty() || start.kind != texts ) {
            Labels all = deviceAlone();
            for ( size_t i = 0; i < texts.size(); ++i ) {
                all.push_back( { info.row->labels[i].name, texts[i] } );
            }
            start = { std::move( texts ), lineStart( info.row->name, std::move( all ) ) };
        }
        add( info.family, start.text, "1" );
    }

  private:
    Labels deviceAlone() const { return { { "device", device_.entry->name } }; }
    Labels labels( prometheus::ClientMetric::Label last ) const {
        return { { "device", device_.entry->name },
                 { "class", nameOf( device_.row->deviceClass ) },
                 std::move( last ) };
    }
    Labels labelsOf( size_t column ) const {
        return labels( { "reading", device_.row->columns[column].key } );
    }

    /// In seconds, to the millisecond.
    double ageOf( const Reading &reading ) const {
        constexpr double millisecondsPerSecond = 1000;
        return std::round( reading.age( now_ )->count() * millisecondsPerSecond ) /
               millisecondsPerSecond;
    }

    void addStatus( size_t column, Start<pl_status> &start ) const {
        const pl_status status = device_.readings[column].status;
        if ( start.text.empty() || start.kind != status ) {
            Labels all = labelsOf( column );
            all.push_back( { "status", HostTool::nameOf( status ) } );
            start = { status, lineStart( familyName( Own::readingStatus ), std::move( all ) ) };
        }
        add( Own::readingStatus, start.text, "1" );
    }

    template <class MakeLabels>
    static void begin( std::string &start, const char *family, const MakeLabels &make ) {
        if ( start.empty() ) {
            start = lineStart( family, make() );
        }
    }

    void add( Own own, const std::string &start, std::string_view digits ) const {
        add( static_cast<size_t>( own ), start, digits );
    }
    void add( size_t family, const std::string &start, std::string_view digits ) const {
        samples_[family].append( start ).append( digits ).push_back( '\n' );
    }

    const Device &device_;
    Moment now_;
    std::vector<std::string> &samples_;
    const Route &route_;
};

} // namespace

Exposition::Exposition( const Origin &origin )
    : buildLine_( lineStart( familyName( Own::build ), { { "version", origin.version },
                                                         { "library", origin.library },
                                                         { "board", origin.board } } ) ),
      serverLine_( lineStart( familyName( Own::serverUp ), {} ) ),
      durationLine_( lineStart( familyName( Own::scrapeDuration ), {} ) ) {
    for ( const OwnFamily &each : ownFamilies() ) {
        heads_.push_back( headOf( each.name, each.help ) );
    }
    for ( const ValueFamily &each : valueFamilies() ) {
        heads_.push_back( headOf( each.name, each.help ) );
    }
    for ( const InfoFamily &each : infoFamilies() ) {
        heads_.push_back( headOf( each.name, each.help ) );
    }
    samples_.resize( heads_.size() );
}

Exposition::~Exposition() = default;

void Exposition::add( const Device &device, Kept &kept, Moment now ) {
    const Route &route = routeFor( device.row->deviceClass );
    if ( kept.entry != device.entry ) {
        kept = {};
        kept.entry = device.entry;
        kept.columns.resize( device.row->columns.size() );
        kept.infos.resize( route.infos.size() );
    }
    const DeviceSamples samples( device, now, samples_ );
    samples.addState( kept.state );
    if ( const auto &thresholds = device.entry->thresholds ) {
        samples.addThreshold( Own::alertThreshold, kept.alert, thresholds->alert );
        samples.addThreshold( Own::criticalThreshold, kept.critical, thresholds->critical );
    }
    for ( size_t column = 0; column < device.readings.size(); ++column ) {
        samples.addReading( column, kept.columns[column] );
    }
    for ( size_t i = 0; i < route.infos.size(); ++i ) {
        samples.addInfo( route.infos[i], kept.infos[i] );
    }
}

std::string Exposition::text( const Scrape &scrape, const std::vector<Device> &devices ) {
    for ( std::string &each : samples_ ) {
        each.clear();
    }
    const auto addOwn = [&]( Own own, std::string_view start, std::string_view digits ) {
        samples_[static_cast<size_t>( own )].append( start ).append( digits ).push_back( '\n' );
    };
    addOwn( Own::serverUp, serverLine_, scrape.hasServer ? "1" : "0" );
    addOwn( Own::scrapeDuration, durationLine_, Digits( scrape.took.count() ).text() );
    addOwn( Own::build, buildLine_, "1" );
    if ( scrape.hasServer ) {
        kept_.resize( devices.size() );
        for ( size_t i = 0; i < devices.size(); ++i ) {
            add( devices[i], kept_[i], scrape.endedAt );
        }
    }
    size_t size = 0;
    for ( size_t family = 0; family < heads_.size(); ++family ) {
        size += heads_[family].size() + samples_[family].size();
    }
    std::string all;
    all.reserve( size );
    for ( size_t family = 0; family < heads_.size(); ++family ) {
        if ( !samples_[family].empty() ) {
            all.append( heads_[family] ).append( samples_[family] );
        }
    }
    return all;
}

} // namespace HostTool::Metrics
