#include "SmbusServer/Options.h"

#include <cstdlib>
#include <gtest/gtest.h>
#include <string>
#include <vector>

using namespace SmbusServer;

class OptionsTest : public testing::Test {
  protected:
    OptionsTest() { unsetenv( "SMBUSD_SOCKET" ); }

    static Options parse( std::vector<std::string> words ) {
        words.insert( words.begin(), "kavra-smbusd" );
        std::vector<char *> pointers;
        for ( std::string &word : words ) {
            pointers.push_back( word.data() );
        }
        pointers.push_back( nullptr );
        return parseOptions( static_cast<int>( words.size() ), pointers.data() );
    }

    static std::string errorOf( const std::vector<std::string> &words ) {
        try {
            parse( words );
            return "";
        } catch ( const UsageError &error ) {
            return error.what();
        }
    }
};

TEST_F( OptionsTest, BoardAloneTakesTheDefaults ) {
    const Options options = parse( { "--board", "b.json" } );
    EXPECT_EQ( Options::Task::Serve, options.task );
    EXPECT_EQ( "b.json", options.board );
    EXPECT_EQ( "/run/smbusd.sock", options.socket );
    EXPECT_EQ( "/run/smbusd.sock.ctl", options.control );
    EXPECT_FALSE( options.verbose );
}

TEST_F( OptionsTest, EnvironmentNamesTheSocketUnlessItIsEmpty ) {
    setenv( "SMBUSD_SOCKET", "/tmp/s", 1 );
    EXPECT_EQ( "/tmp/s.ctl", parse( { "--board", "b" } ).control );
    setenv( "SMBUSD_SOCKET", "", 1 );
    EXPECT_EQ( "/run/smbusd.sock", parse( { "--board", "b" } ).socket );
}

TEST_F( OptionsTest, OptionWinsOverTheEnvironment ) {
    setenv( "SMBUSD_SOCKET", "/tmp/s", 1 );
    const Options options = parse( { "--board=b", "--socket=/x", "--control", "/y", "--verbose" } );
    EXPECT_EQ( "/x", options.socket );
    EXPECT_EQ( "/y", options.control );
    EXPECT_TRUE( options.verbose );
}

TEST_F( OptionsTest, CtlJoinsItsWords ) {
    const Options options = parse( { "ctl", "--control", "/y", "set", "inlet.temperature", "-5" } );
    EXPECT_EQ( Options::Task::Control, options.task );
    EXPECT_EQ( "/y", options.control );
    EXPECT_EQ( "set inlet.temperature -5", options.line );
}

TEST_F( OptionsTest, HelpAndVersionNeedNothingElse ) {
    EXPECT_EQ( Options::Task::Help, parse( { "--help" } ).task );
    EXPECT_EQ( Options::Task::Help, parse( { "ctl", "--help" } ).task );
    EXPECT_EQ( Options::Task::Help, parse( { "--help", "--check-config" } ).task );
    EXPECT_EQ( Options::Task::Version, parse( { "--version" } ).task );
}

TEST_F( OptionsTest, WrongCallsAreExplained ) {
    EXPECT_EQ( "one of --board FILE, --i2c-dev and --replay FILE is needed: what to serve",
               errorOf( {} ) );
    EXPECT_EQ( "unknown option '--bord'", errorOf( { "--bord", "b" } ) );
    EXPECT_EQ( "option '--board' needs a value", errorOf( { "--board" } ) );
    EXPECT_EQ( "unknown command 'frob'", errorOf( { "frob" } ) );
    EXPECT_EQ( "ctl needs a command, such as 'list'", errorOf( { "ctl" } ) );
}

TEST_F( OptionsTest, FaultsAndRecordingsAreFiles ) {
    const Options options = parse( { "--replay", "a", "--record", "b", "--faults", "c" } );
    EXPECT_EQ( Options::Task::Serve, options.task );
    EXPECT_EQ( "a", options.replay );
    EXPECT_EQ( "b", options.record );
    EXPECT_EQ( "c", options.faults );
    EXPECT_EQ( Options::Task::Print, parse( { "--print", "d" } ).task );
    EXPECT_FALSE( parse( { "--print", "d" } ).json );
    EXPECT_TRUE( parse( { "--print", "d", "--json" } ).json );
}

TEST_F( OptionsTest, I2cDevTakesAFileOrNone ) {
    EXPECT_EQ( std::nullopt, parse( { "--board", "b" } ).i2cDev );
    EXPECT_EQ( "", parse( { "--i2c-dev" } ).i2cDev );
    EXPECT_EQ( "", parse( { "--i2c-dev", "--verbose" } ).i2cDev );
    EXPECT_EQ( "m.json", parse( { "--i2c-dev=m.json" } ).i2cDev );
    const Options options = parse( { "--i2c-dev", "m.json", "--verbose" } );
    EXPECT_EQ( "m.json", options.i2cDev );
    EXPECT_TRUE( options.verbose );
}

TEST_F( OptionsTest, OneThingIsServed ) {
    EXPECT_EQ( "--board and --i2c-dev exclude each other: one thing is served",
               errorOf( { "--board", "b", "--i2c-dev", "m.json" } ) );
    EXPECT_EQ( "--board and --i2c-dev and --replay exclude each other: one thing is served",
               errorOf( { "--replay", "r", "--i2c-dev", "--board", "b" } ) );
}

TEST_F( OptionsTest, EmptyValueIsNoValue ) {
    EXPECT_EQ( "option '--board' needs a value", errorOf( { "--board=" } ) );
    EXPECT_EQ( "option '--i2c-dev' needs a value", errorOf( { "--i2c-dev=" } ) );
    EXPECT_EQ( "option '--socket' needs a value", errorOf( { "--board", "b", "--socket", "" } ) );
}

TEST_F( OptionsTest, OptionsThatMeanNothingAreRefused ) {
    EXPECT_EQ( "option '--board' means nothing beside ctl",
               errorOf( { "ctl", "--board", "b", "list" } ) );
    EXPECT_EQ( "option '--print' means nothing beside ctl", errorOf( { "ctl", "--print", "r" } ) );
    EXPECT_EQ( "option '--record' means nothing beside --print",
               errorOf( { "--print", "r", "--record", "s" } ) );
    EXPECT_EQ( "option '--json' means nothing beside what is served",
               errorOf( { "--board", "b", "--json" } ) );
    EXPECT_EQ( "option '--json' means nothing beside ctl", errorOf( { "ctl", "--json", "list" } ) );
    EXPECT_EQ( "unknown command 'more'", errorOf( { "--print", "r", "more" } ) );
    EXPECT_EQ( "'ctl' stands in front of all options",
               errorOf( { "--socket", "s", "ctl", "list" } ) );
}

TEST_F( OptionsTest, HelpShowsEveryOption ) {
    for ( const char *name :
          { "--board", "--i2c-dev", "--socket", "--control", "--verbose", "--help", "--version",
            "--faults", "--record", "--replay", "--print", "--json" } ) {
        EXPECT_NE( std::string_view::npos, helpText.find( name ) ) << name;
    }
}
