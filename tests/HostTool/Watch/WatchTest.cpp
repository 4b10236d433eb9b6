/// kavractl watch as lines, on a library whose devices behave as their arguments say.
#include "tests/HostTool/Kavractl.h"

#include <gmock/gmock.h>

#include <sstream>

using testing::HasSubstr;
using testing::Not;

class WatchLinesTest : public KavractlTest {
  protected:
    WatchLinesTest() : server( socketPath() ) {
        environment["KAVRA_LIBRARY"] = FAKE_LIBRARY;
        folder.devices( R"([
            { "class": "temp_sensor", "name": "hot", "arguments": { "behave": "hot" },
              "thresholds": { "alert": 45, "critical": 55 } },
            { "class": "fan", "name": "broken", "arguments": { "behave": "fail-on-read" } },
            { "class": "gpio", "name": "refused", "arguments": { "behave": "refuse" } },
            { "class": "xcvr", "name": "port", "arguments": { "kind": "qsfp" } },
            { "class": "smbus", "name": "raw", "arguments": {} } ])" );
    }

    ListeningSocket server;
};

TEST_F( WatchLinesTest, EachDeviceHasALineAtFirst ) {
    const ProgramResult result = kavractl( { "watch", "--for", "2" } );
    EXPECT_EQ( 0, result.status ) << result.err;
    EXPECT_THAT( result.out, HasSubstr( "  hot: alert  temperature 50.0 C\n" ) );
    EXPECT_THAT( result.out, HasSubstr( "  broken: failed  speed failed" ) );
    EXPECT_THAT( result.out, HasSubstr( "bus 0 chip 0x48: no acknowledge\n" ) );
    EXPECT_THAT( result.out, HasSubstr( "  refused: failed  not added: parsing devArgs" ) );
    EXPECT_THAT( result.out, Not( HasSubstr( "raw" ) ) );
}

TEST_F( WatchLinesTest, PolledDeviceIsToldWhenItsValuesAreReal ) {
    // The library answers with 1 from its first poll on.
    const ProgramResult result = kavractl( { "watch", "port", "--for", "2", "--every", "60" } );
    EXPECT_THAT( result.out, HasSubstr( "  port: ok  type qsfp  present yes  mod_sel yes" ) );
    EXPECT_THAT( result.out, Not( HasSubstr( "->" ) ) );
}

TEST_F( WatchLinesTest, EachLineOfJsonIsADocument ) {
    std::istringstream lines( kavractl( { "watch", "hot", "--json", "--for", "1" } ).out );
    std::vector<std::string> keys;
    for ( std::string line; std::getline( lines, line ); ) {
        const rapidjson::Document document = parsed( line );
        EXPECT_TRUE( document["time"].IsDouble() );
        EXPECT_STREQ( "hot", document["name"].GetString() );
        EXPECT_TRUE( document["before"].IsNull() );
        keys.push_back( std::string( document["key"].GetString() ) + " " +
                        document["after"].GetString() );
    }
    EXPECT_EQ( ( std::vector<std::string>{ "state alert", "temperature 50.0 C" } ), keys );
}

TEST_F( WatchLinesTest, OutputThatTakesNoTextEndsIt ) {
    const ProgramResult result = kavractlByShell( "watch hot --for 60 >/dev/full" );
    EXPECT_EQ( 2, result.status );
    EXPECT_EQ( "kavractl: cannot write to standard output: No space left on device\n", result.err );
}

TEST_F( WatchLinesTest, MissingServerStopsAtOnce ) {
    server.die();
    EXPECT_EQ( 3, kavractl( { "watch" } ).status );
}
