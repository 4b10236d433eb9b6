#include "HostTool/Options.h"
#include "HostTool/Failure.h"

#include <gtest/gtest.h>

#include <cstdlib>

using namespace HostTool;

static std::string refusalOf( const std::vector<std::string> &arguments ) {
    try {
        parseOptions( arguments );
    } catch ( const Failure &failure ) {
        EXPECT_EQ( ExitCode::badInput, failure.code() );
        return failure.what();
    }
    return "";
}

TEST( OptionsTest, OptionsStandBeforeAndBehindTheCommand ) {
    const Options options = parseOptions( { "--json", "show", "inlet", "--board=b", "outlet" } );
    EXPECT_TRUE( options.json );
    EXPECT_EQ( "show", options.command );
    EXPECT_EQ( "b", options.board );
    EXPECT_EQ( ( std::vector<std::string>{ "inlet", "outlet" } ), options.operands );
}

TEST( OptionsTest, ValueMayBeTheNextWord ) {
    const Options options =
        parseOptions( { "--library", "l.so", "--socket", "s", "--trace", "7", "list" } );
    EXPECT_EQ( "l.so", options.library );
    EXPECT_EQ( "s", options.socket );
    EXPECT_EQ( 7, options.traceLevel );
    EXPECT_EQ( "list", options.command );
}

TEST( OptionsTest, NothingIsTracedUnlessAskedFor ) {
    EXPECT_EQ( -1, parseOptions( { "show" } ).traceLevel );
}

TEST( OptionsTest, SimulateTakesItsFolderOnlyBehindAnEqualsSign ) {
    const Options plain = parseOptions( { "--simulate", "show" } );
    EXPECT_TRUE( plain.simulate );
    EXPECT_EQ( "", plain.simulationFolder );
    EXPECT_EQ( "show", plain.command );
    EXPECT_EQ( "d", parseOptions( { "--simulate=d", "show" } ).simulationFolder );
}

TEST( OptionsTest, OptionThatTheCommandDoesNotTakeIsRefused ) {
    EXPECT_EQ( "--fdl goes with kavractl show, not with list", refusalOf( { "list", "--fdl" } ) );
    EXPECT_EQ( "--for goes with kavractl watch, set and metrics, not with show",
               refusalOf( { "--for", "5", "show" } ) );
    EXPECT_EQ( "", refusalOf( { "watch", "--for", "5", "--every", "2" } ) );
    for ( const char *option : { "--output", "--listen", "--textfile", "--tolerance", "--rate" } ) {
        EXPECT_NE( "", refusalOf( { "show", option, "x" } ) ) << option;
    }
    for ( const char *option : { "--rates", "--rules", "--yes", "-y", "--force" } ) {
        EXPECT_NE( "", refusalOf( { "show", option } ) ) << option;
    }
}

TEST( OptionsTest, HelpIsGivenWhateverElseIsThere ) {
    EXPECT_TRUE( parseOptions( { "list", "--fdl", "--help" } ).help );
}

TEST( OptionsTest, DoubleDashEndsOptions ) {
    EXPECT_EQ( ( std::vector<std::string>{ "--json" } ),
               parseOptions( { "show", "--", "--json" } ).operands );
}

TEST( OptionsTest, UnknownOptionIsAnsweredWithTheNearest ) {
    EXPECT_EQ( "unknown option '--jason'; did you mean '--json'?", refusalOf( { "--jason" } ) );
    EXPECT_EQ( "unknown option '--qqqqqqqqqqqqq'", refusalOf( { "--qqqqqqqqqqqqq" } ) );
}

TEST( OptionsTest, ValuesAreWantedAndUnwanted ) {
    EXPECT_EQ( "--board needs a value", refusalOf( { "show", "--board" } ) );
    EXPECT_EQ( "--board needs a value", refusalOf( { "--board=", "show" } ) );
    EXPECT_EQ( "--board needs a value", refusalOf( { "--board", "", "show" } ) );
    EXPECT_EQ( "--json takes no value", refusalOf( { "--json=1" } ) );
}

TEST( OptionsTest, TraceTakesALevel ) {
    for ( const std::string level : { "8", "-1", "x", "10" } ) {
        EXPECT_EQ( "--trace takes a level from 0 to 7, not '" + level + "'",
                   refusalOf( { "--trace", level } ) );
    }
}

TEST( OptionsTest, EnvironmentTellsTheLibrary ) {
    setEnvironment( parseOptions( { "--socket=s", "--simulate=d" } ) );
    EXPECT_STREQ( "s", getenv( "SMBUSD_SOCKET" ) );
    EXPECT_STREQ( "d", getenv( "KAVRALIB_SIMDIR" ) );
    EXPECT_NE( nullptr, getenv( "SIMULATION_VMID" ) );
}

TEST( OptionsTest, EnvironmentStaysWithoutOptions ) {
    setenv( "SMBUSD_SOCKET", "before", 1 );
    unsetenv( "SIMULATION_VMID" );
    setEnvironment( parseOptions( { "show" } ) );
    EXPECT_STREQ( "before", getenv( "SMBUSD_SOCKET" ) );
    EXPECT_EQ( nullptr, getenv( "SIMULATION_VMID" ) );
}
