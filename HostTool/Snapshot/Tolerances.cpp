#include "HostTool/Snapshot/Tolerances.h"

#include "HostTool/Failure.h"

#include <algorithm>
#include <charconv>
#include <cmath>

namespace HostTool::Snapshot {

namespace {

constexpr double hundred = 100;

// What a good board may do from one hour to the next.
constexpr Tolerance defaultRows[] = {
    { "C", 0, 5, false, 1 },   // a percentage of degrees Celsius says nothing
    { "rpm", 10, 0, true, 0 }, // follows the temperature
    { "V", 5, 0, true, 2 },    // what a supply holds, and the mains nearly
    { "A", 20, 1, true, 2 },   // follows the load
    { "W", 20, 5, true, 1 },   // follows the load
};

[[noreturn]] void refuse( const std::string &text ) {
    throw Failure( ExitCode::badInput, "--tolerance: " + text );
}

} // namespace

Tolerances::Tolerances() : rows_( std::begin( defaultRows ), std::end( defaultRows ) ) {}

const Tolerance *Tolerances::find( const std::string &unit ) const {
    const auto row = std::find_if( rows_.begin(), rows_.end(),
                                   [&]( const Tolerance &each ) { return unit == each.unit; } );
    return row == rows_.end() ? nullptr : &*row;
}

void Tolerances::set( const std::string &text ) {
    const size_t equals = text.find( '=' );
    if ( equals == std::string::npos ) {
        refuse( "'" + text + "' is not UNIT=NUMBER or UNIT=PERCENT%" );
    }
    const std::string unit = text.substr( 0, equals );
    const Tolerance *found = find( unit );
    if ( !found ) {
        std::string units;
        for ( const Tolerance &each : rows_ ) {
            units.append( units.empty() ? "" : ", " ).append( each.unit );
        }
        refuse( "no unit '" + unit + "'; there are " + units );
    }
    const std::string amount = text.substr( equals + 1 );
    const bool isPercent = amount.ends_with( '%' );
    const char *end = amount.data() + amount.size() - ( isPercent ? 1 : 0 );
    double number = 0;
    const auto [stop, error] = std::from_chars( amount.data(), end, number );
    if ( error != std::errc() || stop != end || !std::isfinite( number ) || number < 0 ) {
        refuse( unit + " takes a number from 0 on" +
                ( found->takesPercent ? ", or a percentage such as 15%" : "" ) + ", not '" +
                amount + "'" );
    }
    if ( isPercent && !found->takesPercent ) {
        refuse( unit + " takes a number, and no percentage: '" + amount + "'" );
    }
    Tolerance &row = rows_[static_cast<size_t>( found - rows_.data() )];
    row.percent = isPercent ? number : 0;
    row.absolute = isPercent ? 0 : number;
}

bool Tolerances::allow( const std::string &unit, double golden, double now ) const {
    const Tolerance *row = find( unit );
    if ( !row ) {
        return golden == now;
    }
    const double limit = std::max( std::abs( golden ) * row->percent / hundred, row->absolute );
    // Decimal fractions are rounded when they are read, and at the limit is within it.
    constexpr double rounding = 1e-9;
    const double slack = rounding * std::max( std::abs( golden ), std::abs( now ) );
    return std::abs( now - golden ) <= limit + slack;
}

int Tolerances::decimalsOf( const std::string &unit ) const {
    constexpr int others = 2;
    const Tolerance *row = find( unit );
    return row ? row->decimals : others;
}

} // namespace HostTool::Snapshot
