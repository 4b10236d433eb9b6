#include "HostTool/Snapshot/Tolerances.h"

#include "HostTool/Failure.h"
#include "HostTool/Snapshot/SnapshotCommands.h"

#include <gtest/gtest.h>

#include <ostream>
#include <string>

using HostTool::Snapshot::Tolerance;
using HostTool::Snapshot::Tolerances;

namespace {

struct Edge {
    const char *name;
    const char *unit;
    double golden;
    double within; ///< the last one that is no difference, above and below
};
// The first two and the last two are within by the absolute limit, the others by the percentage.
constexpr Edge edges[] = {
    { "Warm", "C", 24.1, 5 },           { "Cold", "C", -2.3, 5 },
    { "Speed", "rpm", 9800, 980 },      { "Voltage", "V", 230, 11.5 },
    { "LowVoltage", "V", 12.1, 0.605 }, { "Current", "A", 20.3, 4.06 },
    { "Power", "W", 216.7, 43.34 },     { "LowCurrent", "A", 0.3, 1 },
    { "LowPower", "W", 7.7, 5 },
};

void PrintTo( const Edge &edge, std::ostream *out ) {
    *out << edge.name;
}

class ToleranceEdgeTest : public testing::TestWithParam<Edge> {};

TEST_P( ToleranceEdgeTest, ExactlyAtItIsNoDifference ) {
    const auto [name, unit, golden, within] = GetParam();
    const Tolerances tolerances;
    for ( const double side : { 1.0, -1.0 } ) {
        EXPECT_TRUE( tolerances.allow( unit, golden, golden + side * within ) ) << name;
        EXPECT_FALSE( tolerances.allow( unit, golden, golden + side * within * 1.0001 ) );
    }
}

INSTANTIATE_TEST_SUITE_P( Units, ToleranceEdgeTest, testing::ValuesIn( edges ),
                          []( const auto &each ) { return std::string( each.param.name ); } );

TEST( TolerancesTest, NumberTakesThePlaceOfBothLimits ) {
    Tolerances tolerances;
    tolerances.set( "W=1.5" );
    EXPECT_TRUE( tolerances.allow( "W", 200, 201.5 ) );
    EXPECT_FALSE( tolerances.allow( "W", 200, 201.6 ) );
}

TEST( TolerancesTest, PercentageTakesThePlaceOfBothLimits ) {
    Tolerances tolerances;
    tolerances.set( "W=1%" );
    EXPECT_TRUE( tolerances.allow( "W", 200, 198 ) );
    EXPECT_FALSE( tolerances.allow( "W", 200, 197.9 ) );
    EXPECT_FALSE( tolerances.allow( "W", 0, 0.1 ) );
}

TEST( TolerancesTest, LastOfAUnitCounts ) {
    Tolerances tolerances;
    tolerances.set( "C=1" );
    tolerances.set( "C=0" );
    EXPECT_TRUE( tolerances.allow( "C", 24, 24 ) );
    EXPECT_FALSE( tolerances.allow( "C", 24, 24.1 ) );
}

TEST( TolerancesTest, UnitWithoutARowHasNone ) {
    EXPECT_TRUE( Tolerances().allow( "", 1, 1 ) );
    EXPECT_FALSE( Tolerances().allow( "", 1, 1.0000001 ) );
}

struct Refusal {
    const char *name;
    const char *text;
    const char *message;
};
constexpr Refusal refusals[] = {
    { "NoAmount", "C", "--tolerance: 'C' is not UNIT=NUMBER or UNIT=PERCENT%" },
    { "UnknownUnit", "K=3", "--tolerance: no unit 'K'; there are C, rpm, V, A, W" },
    { "NoUnit", "=3", "--tolerance: no unit ''; there are C, rpm, V, A, W" },
    { "EmptyAmount", "C=", "--tolerance: C takes a number from 0 on, not ''" },
    { "Word", "C=warm", "--tolerance: C takes a number from 0 on, not 'warm'" },
    { "Negative", "C=-1", "--tolerance: C takes a number from 0 on, not '-1'" },
    { "PercentOfDegrees", "C=5%", "--tolerance: C takes a number, and no percentage: '5%'" },
    { "TwoPercentSigns", "rpm=15%%",
      "--tolerance: rpm takes a number from 0 on, or a percentage such as 15%, not '15%%'" },
    { "Infinite", "A=inf",
      "--tolerance: A takes a number from 0 on, or a percentage such as 15%, not 'inf'" },
    { "PercentSignAlone", "A=%",
      "--tolerance: A takes a number from 0 on, or a percentage such as 15%, not '%'" },
};

void PrintTo( const Refusal &refusal, std::ostream *out ) {
    *out << refusal.name;
}

class ToleranceRefusalTest : public testing::TestWithParam<Refusal> {};

TEST_P( ToleranceRefusalTest, NamesTheUnit ) {
    Tolerances tolerances;
    try {
        tolerances.set( GetParam().text );
        ADD_FAILURE() << GetParam().text << " is taken";
    } catch ( const HostTool::Failure &failure ) {
        EXPECT_STREQ( GetParam().message, failure.what() );
        EXPECT_EQ( HostTool::ExitCode::badInput, failure.code() );
    }
}

INSTANTIATE_TEST_SUITE_P( Texts, ToleranceRefusalTest, testing::ValuesIn( refusals ),
                          []( const auto &each ) { return std::string( each.param.name ); } );

TEST( TolerancesTest, HelpSaysEach ) {
    const std::string help = HostTool::diffHelp;
    const Tolerances tolerances;
    for ( const Tolerance &row : tolerances.rows() ) {
        std::string line = "\n  " + std::string( row.unit );
        line.resize( 9, ' ' );
        const std::string percent = std::to_string( static_cast<int>( row.percent ) ) + "%";
        const std::string absolute = std::to_string( static_cast<int>( row.absolute ) );
        line += row.percent == 0    ? absolute
                : row.absolute == 0 ? percent
                                    : percent + " or " + absolute;
        EXPECT_NE( std::string::npos, help.find( line + "\n" ) ) << line;
    }
}

} // namespace
