#include "tests/HostTool/Kavractl.h"

#include <gmock/gmock.h>

#include <sstream>

using testing::EndsWith;
using testing::HasSubstr;
using testing::StartsWith;

class CallTest : public KavractlTest {
  protected:
    /// The call is wrong: exit code 2, the message on stderr and nothing on stdout.
    void expectRefusal( const std::vector<std::string> &arguments,
                        const std::string &message ) const {
        const ProgramResult result = kavractl( arguments );
        EXPECT_EQ( 2, result.status );
        EXPECT_EQ( "kavractl: " + message + "\n", result.err );
        EXPECT_EQ( "", result.out );
    }
};

TEST_F( CallTest, NoCommand ) {
    expectRefusal( {}, "no command; kavractl --help lists them" );
}

TEST_F( CallTest, UnknownCommandIsAnsweredWithTheNearest ) {
    expectRefusal( { "shwo" }, "unknown command 'shwo'; the nearest is 'show', and kavractl --help "
                               "has all of them" );
}

TEST_F( CallTest, UnknownOptionIsAnsweredWithTheNearest ) {
    expectRefusal( { "list", "--borad=x" }, "unknown option '--borad'; did you mean '--board'?" );
}

TEST_F( CallTest, UnknownDeviceIsAnsweredWithTheNearest ) {
    folder.devices( R"([ { "class": "system", "name": "switch" } ])" );
    for ( const std::string command : { "list", "show" } ) {
        expectRefusal( { command, "swich" }, "no device 'swich' in " + folder.path() +
                                                 "/devices.json; did you mean 'switch'?" );
    }
}

TEST_F( CallTest, MissingBoardIsNamed ) {
    expectRefusal( { "list", "--board", "/no/such/board" },
                   "cannot read /no/such/board/topology.json: No such file or directory" );
}

TEST_F( CallTest, MissingDevicesAreNamed ) {
    expectRefusal( { "list" },
                   "cannot read " + folder.path() + "/devices.json: No such file or directory" );
}

TEST_F( CallTest, BrokenJsonIsLocated ) {
    folder.devices( "[]" );
    folder.topology( "[\n  { \"type\" \"SCD\" } ]" );
    expectRefusal( { "show" }, folder.path() +
                                   "/topology.json:2:12: Missing a colon after a name of object "
                                   "member." );
}

TEST_F( CallTest, HelpNamesEveryCommandAndEndsInExamples ) {
    const ProgramResult result = kavractl( { "--help" } );
    EXPECT_EQ( 0, result.status );
    EXPECT_THAT( result.out, StartsWith( "usage: kavractl " ) );
    for ( const char *command : { "\n  list ", "\n  show " } ) {
        EXPECT_THAT( result.out, HasSubstr( command ) );
    }
    EXPECT_THAT( result.out.substr( result.out.rfind( "\n\n" ) ), StartsWith( "\n\nExamples:\n" ) );
}

TEST_F( CallTest, HelpFitsATerminal ) {
    for ( const std::vector<std::string> &call :
          { std::vector<std::string>{ "--help" }, { "show", "--help" }, { "list", "-h" } } ) {
        std::istringstream lines( kavractl( call ).out );
        for ( std::string line; std::getline( lines, line ); ) {
            EXPECT_LE( line.size(), 80u ) << line;
        }
    }
}

TEST_F( CallTest, CommandsHaveHelpOfTheirOwn ) {
    const ProgramResult result = kavractl( { "show", "--help" } );
    EXPECT_EQ( 0, result.status );
    EXPECT_THAT( result.out, StartsWith( "usage: kavractl [OPTION...] show [DEVICE...]\n" ) );
    EXPECT_THAT( result.out, HasSubstr( "Examples:\n  kavractl show\n" ) );
}

TEST_F( CallTest, VersionIsPrinted ) {
    EXPECT_THAT( kavractl( { "--version" } ).out, testing::MatchesRegex( "kavractl [0-9.]+\n" ) );
}

TEST_F( CallTest, FullDiskIsNoSuccess ) {
    std::string entries;
    for ( int i = 0; i < 1000; ++i ) { // more than any buffer holds
        entries += std::string( i == 0 ? "" : "," ) + R"({ "class": "system", "name": "s)" +
                   std::to_string( i ) + R"(" })";
    }
    folder.devices( "[" + entries + "]" );
    for ( const char *call : { "--help", "--version", "list", "list --json" } ) {
        const ProgramResult result = kavractlByShell( std::string( call ) + " >/dev/full" );
        EXPECT_EQ( 2, result.status ) << call;
        EXPECT_EQ( "kavractl: cannot write to standard output: No space left on device\n",
                   result.err );
    }
}

TEST_F( CallTest, ClosedOutputIsNoSuccess ) {
    const ProgramResult result = kavractlByShell( "--version >&-" );
    EXPECT_EQ( 2, result.status );
    EXPECT_EQ( "kavractl: cannot write to standard output: Bad file descriptor\n", result.err );
}

TEST_F( CallTest, MissingLibraryNamesWhatWasTried ) {
    folder.devices( "[]" );
    const ProgramResult result = kavractl( { "show", "--library", "/no/such/library.so" } );
    EXPECT_EQ( 3, result.status );
    EXPECT_THAT( result.err, StartsWith( "kavractl: the platform library cannot be loaded; tried\n"
                                         "  /no/such/library.so: " ) );
    EXPECT_THAT( result.err, EndsWith( "name it with --library PATH or in $KAVRA_LIBRARY\n" ) );
}

TEST_F( CallTest, LibraryOfTheEnvironmentIsTried ) {
    folder.devices( "[]" );
    environment["KAVRA_LIBRARY"] = "/from/environment.so";
    EXPECT_THAT( kavractl( { "show" } ).err, HasSubstr( "\n  /from/environment.so: " ) );
}

TEST_F( CallTest, LibraryWithoutEntryPointsIsNamed ) {
    folder.devices( R"([ { "class": "system", "name": "switch" } ])" );
    const ListeningSocket server( socketPath() );
    const ProgramResult result = kavractl( { "show", "--library", "libm.so.6" } );
    EXPECT_EQ( 3, result.status );
    EXPECT_EQ( "kavractl: libm.so.6 has no entry point pl_system_init\n", result.err );
}

class ListTest : public CallTest {
  protected:
    ListTest() {
        folder.devices( R"([
            { "class": "temp_sensor", "name": "inlet",
              "arguments": { "did": 1, "driver": "LM75" },
              "thresholds": { "alert": 45, "critical": 55.5 } },
            { "class": "smbus", "name": "raw", "bus": "cpu-bus", "address": "0x4a" },
            { "class": "system", "name": "switch" } ])" );
        // Neither is there.
        environment["KAVRA_LIBRARY"] = "/none";
    }
};

TEST_F( ListTest, OneLineAnEntry ) {
    const ProgramResult result = kavractl( { "list" } );
    EXPECT_EQ( 0, result.status );
    EXPECT_EQ( "CLASS        NAME    DRIVER            DID   ALERT  CRITICAL  BUS\n"
               "temp_sensor  inlet   LM75                1  45.0 C    55.5 C\n"
               "smbus        raw     SmbusProxyDriver   --      --        --  cpu-bus 0x4a\n"
               "system       switch  --                 --      --        --\n",
               result.out );
}

TEST_F( ListTest, JsonHasStableKeys ) {
    EXPECT_EQ( R"({"board":")" + folder.path() +
                   R"(","devices":[{"name":"inlet","class":"temp_sensor","driver":"LM75","did":1,)"
                   R"("bus":null,"address":null,"thresholds":{"alert":45,"critical":55.5}},)"
                   R"({"name":"raw","class":"smbus","driver":"SmbusProxyDriver","did":null,)"
                   R"("bus":"cpu-bus","address":74,"thresholds":null}]})"
                   "\n",
               kavractl( { "list", "--json", "inlet", "raw" } ).out );
}
